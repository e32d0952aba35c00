# The application's icon in the sizes that desktops ask a theme for; drawn from the scalable one.
find_program(TEVANTO_RSVG_CONVERT rsvg-convert REQUIRED)

set(TEVANTO_ICON_SIZES 16 22 24 32 48 64 128 256 512)
set(icons)
foreach(size IN LISTS TEVANTO_ICON_SIZES)
  add_custom_command(
    OUTPUT ${made}/icons/${size}.png
    COMMAND ${CMAKE_COMMAND} -E make_directory ${made}/icons
    COMMAND ${TEVANTO_RSVG_CONVERT} --width ${size} --height ${size} --output ${made}/icons/${size}.png
            ${CMAKE_CURRENT_SOURCE_DIR}/icons/tevanto.svg
    DEPENDS icons/tevanto.svg
    VERBATIM)
  list(APPEND icons ${made}/icons/${size}.png)
endforeach()
add_custom_target(package_icons DEPENDS ${icons})
add_dependencies(package_data package_icons)
