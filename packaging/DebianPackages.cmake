# The Debian packages; scripts/package makes them.
set(debian ${CMAKE_CURRENT_SOURCE_DIR}/debian)

# tevanto_documents(<component> <package>)
# What every package of Debian has in its folder of share/doc. The revision of the package is known only when it is made.
function(tevanto_documents component package)
  install(CODE "
    set(debian \"${debian}\")
    set(package \"${package}\")
    set(changes \"${CMAKE_SOURCE_DIR}/CHANGELOG.md\")
    set(version \"${PROJECT_VERSION}\")
    set(maintainer \"${TEVANTO_MAINTAINER}\")
    set(date \"${TEVANTO_RELEASE_DATE}\")
    include(\"${debian}/InstallDocuments.cmake\")" COMPONENT ${component})
  if(EXISTS ${debian}/${component}/lintian-overrides)
    install(FILES ${debian}/${component}/lintian-overrides
      DESTINATION share/lintian/overrides RENAME ${package} COMPONENT ${component})
  endif()
endfunction()

# tevanto_package(<component> <package> <summary> <description> [SCRIPTS file ...])
macro(tevanto_package component package summary description)
  cmake_parse_arguments(ARG "" "" "SCRIPTS" ${ARGN})
  string(TOUPPER ${component} upper)
  set(CPACK_DEBIAN_${upper}_PACKAGE_NAME ${package})
  set(CPACK_DEBIAN_${upper}_DESCRIPTION "${summary}\n${description}")
  set(CPACK_DEBIAN_${upper}_PACKAGE_SHLIBDEPS ON)
  set(CPACK_DEBIAN_${upper}_PACKAGE_CONTROL_EXTRA)
  foreach(script ${ARG_SCRIPTS})
    list(APPEND CPACK_DEBIAN_${upper}_PACKAGE_CONTROL_EXTRA ${debian}/${component}/${script})
  endforeach()
  list(APPEND CPACK_COMPONENTS_ALL ${component})
  tevanto_documents(${component} ${package})
endmacro()

set(purpose "Tevanto puts a computer within reach of its owner's phone: point, click,
type, switch desktops, change the volume, see the screen, from the sofa or
from the other end of the world.")

set(CPACK_COMPONENTS_ALL)
tevanto_package(common tevanto-common "engine of Tevanto's away connection"
"${purpose}
.
This package has what companion and phone share.")

tevanto_package(headless tevanto-headless "phone access to this computer, without a window"
"${purpose}
.
This package has the companion that runs on the computer, for the terminal
and as a service of the user. The package tevanto adds its windows." SCRIPTS postinst prerm postrm)
set(CPACK_DEBIAN_HEADLESS_PACKAGE_RECOMMENDS "avahi-daemon, ca-certificates, librsvg2-common")
set(CPACK_DEBIAN_HEADLESS_PACKAGE_SUGGESTS "pulseaudio | pipewire-pulse, tevanto")

tevanto_package(desktop tevanto "reach this computer from a phone"
"${purpose}
.
This package has the companion for the desktop, with its icon, its panel and
its setup window.")
set(CPACK_DEBIAN_DESKTOP_PACKAGE_RECOMMENDS "default-dbus-session-bus | dbus-session-bus, qt6-wayland")

tevanto_package(phone tevanto-phone "phone's side of Tevanto for the terminal"
"${purpose}
.
This package has the phone's side as a program for the terminal: for people
without the phone's application, for scripts, and to mirror the screen.")
set(CPACK_DEBIAN_PHONE_PACKAGE_RECOMMENDS "avahi-daemon, ca-certificates")

tevanto_package(relay tevanto-relay "meeting place for Tevanto on a server of one's own"
"${purpose}
.
This package has the relay at which companion and phone meet when they are
on different networks, with its system service." SCRIPTS postinst prerm postrm conffiles)
set(CPACK_DEBIAN_RELAY_PACKAGE_SUGGESTS "coturn")

install(FILES ${debian}/relay.env DESTINATION /etc/tevanto
  PERMISSIONS OWNER_READ OWNER_WRITE COMPONENT relay)

if(TARGET ui)
  # What QML loads by name; nothing links to it. "import QtQuick" stands for all three.
  set(TEVANTO_UI_PACKAGES
    "hicolor-icon-theme, qml6-module-qtqml-models, qml6-module-qtqml-workerscript, qml6-module-qtquick")
else()
  set(CPACK_DEBIAN_DESKTOP_PACKAGE_SHLIBDEPS OFF)
  set(TEVANTO_UI_PACKAGES "hicolor-icon-theme")
endif()
configure_file(debian/CPackProject.cmake.in CPackProject.cmake @ONLY)
set(CPACK_PROJECT_CONFIG_FILE ${made}/CPackProject.cmake)

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME tevanto)
set(CPACK_PACKAGE_VENDOR ${TEVANTO_DEVELOPER})
set(CPACK_PACKAGE_CONTACT ${TEVANTO_MAINTAINER})
set(CPACK_PACKAGE_HOMEPAGE_URL ${TEVANTO_WEBSITE})
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_COMPONENTS_GROUPING IGNORE)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SECTION net)
set(CPACK_DEBIAN_PACKAGE_PRIORITY optional)
set(CPACK_DEBIAN_COMPRESSION_TYPE xz)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS
  OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)
include(CPack)
