# Run at installation; wants debian, package, changes, version, maintainer and date (year-month-day).
set(folder "$ENV{DESTDIR}${CMAKE_INSTALL_PREFIX}/share/doc/${package}")
file(MAKE_DIRECTORY "${folder}")

function(install_compressed from to)
  # No name and no time in it: the same source gives the same package.
  execute_process(COMMAND gzip -9 -n INPUT_FILE "${from}" OUTPUT_FILE "${folder}/${to}" COMMAND_ERROR_IS_FATAL ANY)
  file(CHMOD "${folder}/${to}" PERMISSIONS OWNER_READ OWNER_WRITE GROUP_READ WORLD_READ)
endfunction()

set(TEVANTO_MAINTAINER "${maintainer}")
set(TEVANTO_PACKAGE_VERSION "${version}-1")
if(DEFINED ENV{TEVANTO_PACKAGE_REVISION})
  set(TEVANTO_PACKAGE_VERSION "${version}-$ENV{TEVANTO_PACKAGE_REVISION}")
endif()
execute_process(COMMAND date --utc --date=${date} --rfc-email
  OUTPUT_VARIABLE TEVANTO_PACKAGE_DATE OUTPUT_STRIP_TRAILING_WHITESPACE COMMAND_ERROR_IS_FATAL ANY)
configure_file("${debian}/changelog.in" "${folder}/changelog.Debian" @ONLY)
install_compressed("${folder}/changelog.Debian" changelog.Debian.gz)
file(REMOVE "${folder}/changelog.Debian")
install_compressed("${changes}" changelog.gz)
file(COPY "${debian}/copyright" DESTINATION "${folder}")

# The engine is linked into one of our files.
set(engine /usr/share/doc/libtgowt-dev/copyright)
if(package STREQUAL tevanto-common AND EXISTS ${engine})
  install_compressed(${engine} copyright.libwebrtc.gz)
endif()
