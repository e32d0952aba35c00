# Tevanto.app: the program in a bundle, with its information and its icon.
find_program(TEVANTO_RSVG_CONVERT rsvg-convert REQUIRED)

set(bundle ${CMAKE_BINARY_DIR}/packaging/macos)
set(icon ${bundle}/Tevanto.icns)
set(info ${bundle}/Info.plist)
configure_file(${CMAKE_SOURCE_DIR}/packaging/macos/Info.plist.in ${info} @ONLY)
add_custom_command(
  OUTPUT ${icon}
  COMMAND ${CMAKE_SOURCE_DIR}/scripts/make-iconset ${CMAKE_SOURCE_DIR}/packaging/icons/tevanto.svg ${bundle}/Tevanto.iconset
  COMMAND iconutil --convert icns --output ${icon} ${bundle}/Tevanto.iconset
  DEPENDS ${CMAKE_SOURCE_DIR}/packaging/icons/tevanto.svg ${CMAKE_SOURCE_DIR}/scripts/make-iconset
  VERBATIM)

target_sources(tevanto PRIVATE ${icon})
set_source_files_properties(${icon} PROPERTIES MACOSX_PACKAGE_LOCATION Resources)
get_filename_component(webrtc_folder "${TEVANTO_LKRTC}" DIRECTORY)
set_target_properties(tevanto PROPERTIES
  OUTPUT_NAME Tevanto
  MACOSX_BUNDLE ON
  MACOSX_BUNDLE_INFO_PLIST ${info}
  # Where it is while building; scripts/package-macos puts it into the bundle.
  BUILD_RPATH "${webrtc_folder};@executable_path/../Frameworks")

# A permission of the system is given to a signature. Without an identity of a developer's it changes with each build.
add_custom_command(TARGET tevanto POST_BUILD
  COMMAND codesign --force --sign - --entitlements ${CMAKE_SOURCE_DIR}/packaging/macos/Tevanto.entitlements $<TARGET_BUNDLE_DIR:tevanto>
  VERBATIM)
