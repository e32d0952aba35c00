# Man pages and shell completions. Both are written from what the programs themselves print for --help, so that an
# option that is added is in them with the next build.
find_program(TEVANTO_PYTHON3 NAMES python3 REQUIRED)

set(reference ${CMAKE_CURRENT_SOURCE_DIR}/reference)
# tevanto_reference(<program> <component>)
function(tevanto_reference program component)
  set(outputs ${made}/man/${program}.1.gz ${made}/completions/${program}.bash ${made}/completions/_${program}
    ${made}/completions/${program}.fish)
  add_custom_command(
    OUTPUT ${outputs}
    COMMAND ${CMAKE_COMMAND} -E make_directory ${made}/man ${made}/completions
    COMMAND ${TEVANTO_PYTHON3} ${reference}/write_man_page.py $<TARGET_FILE:${program}>
            ${CMAKE_CURRENT_SOURCE_DIR}/man/${program}.man ${TEVANTO_RELEASE_DATE} ${made}/man/${program}.1.gz
    COMMAND ${TEVANTO_PYTHON3} ${reference}/write_completions.py $<TARGET_FILE:${program}> ${made}/completions
    DEPENDS ${program} man/${program}.man ${reference}/command_line.py ${reference}/write_man_page.py
            ${reference}/write_completions.py ${reference}/bash.py ${reference}/fish.py ${reference}/rules.py ${reference}/zsh.py
    VERBATIM)
  add_custom_target(${program}-reference DEPENDS ${outputs})
  add_dependencies(package_data ${program}-reference)

  install(FILES ${made}/man/${program}.1.gz DESTINATION share/man/man1 COMPONENT ${component})
  install(FILES ${made}/completions/${program}.bash
    DESTINATION share/bash-completion/completions RENAME ${program} COMPONENT ${component})
  install(FILES ${made}/completions/_${program} DESTINATION share/zsh/vendor-completions COMPONENT ${component})
  install(FILES ${made}/completions/${program}.fish
    DESTINATION share/fish/vendor_completions.d COMPONENT ${component})
endfunction()

tevanto_reference(tevanto headless)
tevanto_reference(tevanto-phone phone)
tevanto_reference(tevanto-relay relay)
