# Every folder of the source tree is one static library, tevanto_<folder>, with the same warnings and sanitizers.

find_program(TEVANTO_CCACHE ccache)
if(TEVANTO_CCACHE)
  set(CMAKE_CXX_COMPILER_LAUNCHER ${TEVANTO_CCACHE})
  set(CMAKE_C_COMPILER_LAUNCHER ${TEVANTO_CCACHE})
endif()

add_library(tevanto_options INTERFACE)
target_compile_options(tevanto_options INTERFACE
  -Wall -Wextra -Wpedantic -Wshadow -Wnon-virtual-dtor -Woverloaded-virtual -Werror -fno-omit-frame-pointer)
target_include_directories(tevanto_options INTERFACE ${CMAKE_SOURCE_DIR}/src)
target_compile_definitions(tevanto_options INTERFACE TEVANTO_VERSION="${PROJECT_VERSION}")
if(TEVANTO_SANITIZE)
  target_compile_options(tevanto_options INTERFACE -fsanitize=${TEVANTO_SANITIZE} -fno-sanitize-recover=all)
  target_link_options(tevanto_options INTERFACE -fsanitize=${TEVANTO_SANITIZE})
  # With a sanitizer's code in between, g++ 12 takes the members of a variant that are not active for read.
  target_compile_options(tevanto_options INTERFACE $<$<CXX_COMPILER_ID:GNU>:-Wno-maybe-uninitialized>)
  if(TEVANTO_SANITIZE MATCHES "thread")
    # ThreadSanitizer knows no bare fences; Asio's own locks order the same accesses.
    target_compile_definitions(tevanto_options INTERFACE BOOST_ASIO_DISABLE_FENCED_BLOCK)
  endif()
endif()

# What ./run needs; what ./test builds with ThreadSanitizer; what it builds with libFuzzer.
add_custom_target(programs)
add_custom_target(threads_tests)
add_custom_target(fuzz_targets)

if(TEVANTO_FUZZ)
  # Coverage of the libraries is what leads the fuzzer into them.
  target_compile_options(tevanto_options INTERFACE -fsanitize=fuzzer-no-link)
endif()

# tevanto_library(<name> SOURCES a.cpp ... [PUBLIC lib ...] [PRIVATE lib ...])
function(tevanto_library name)
  cmake_parse_arguments(ARG "" "" "SOURCES;PUBLIC;PRIVATE" ${ARGN})
  add_library(tevanto_${name} STATIC ${ARG_SOURCES})
  target_link_libraries(tevanto_${name} PUBLIC tevanto_options ${ARG_PUBLIC} PRIVATE ${ARG_PRIVATE})
endfunction()

# tevanto_program(<name> SOURCES a.cpp ... LINK lib ...)
function(tevanto_program name)
  cmake_parse_arguments(ARG "" "" "SOURCES;LINK" ${ARGN})
  add_executable(${name} ${ARG_SOURCES})
  target_link_libraries(${name} PRIVATE tevanto_options ${ARG_LINK})
  # Programs that only tests start are not what a user builds.
  if(CMAKE_CURRENT_SOURCE_DIR MATCHES "^${CMAKE_SOURCE_DIR}/src/")
    add_dependencies(programs ${name})
  endif()
endfunction()

# tevanto_module(<name> SOURCES a.cpp ... LINK lib ...)
# A part that a program loads when it needs it: lib/tevanto/<name>.so beside the programs' folder.
function(tevanto_module name)
  cmake_parse_arguments(ARG "" "" "SOURCES;LINK" ${ARGN})
  add_library(${name} MODULE ${ARG_SOURCES})
  target_link_libraries(${name} PRIVATE tevanto_options ${ARG_LINK})
  set_target_properties(${name} PROPERTIES PREFIX "" LIBRARY_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/lib/tevanto)
  # What it shares with the program stays its own.
  target_link_options(${name} PRIVATE -Wl,--exclude-libs,ALL)
  add_dependencies(programs ${name})
endfunction()

# tevanto_test(<name> SOURCES a.cpp ... LINK lib ... [TIMEOUT seconds] [LABELS label ...] [SERIAL])
# One GoogleTest program; each of its tests is one CTest test, so that the closing line counts them.
# SERIAL: the tests start servers that would disturb one another.
# Labels: "threads" also runs under ThreadSanitizer; "e2e" and "long" do not run under AddressSanitizer, where
# "e2e-asan" does.
function(tevanto_test name)
  cmake_parse_arguments(ARG "SERIAL" "TIMEOUT" "SOURCES;LINK;LABELS" ${ARGN})
  if(NOT ARG_TIMEOUT)
    set(ARG_TIMEOUT 120)
  endif()
  add_executable(${name} ${ARG_SOURCES})
  target_include_directories(${name} PRIVATE ${CMAKE_SOURCE_DIR})
  target_link_libraries(${name} PRIVATE tevanto_options GTest::gtest GTest::gmock GTest::gtest_main ${ARG_LINK})
  set(properties TIMEOUT ${ARG_TIMEOUT})
  if(ARG_SERIAL)
    list(APPEND properties RUN_SERIAL ON)
  endif()
  if("threads" IN_LIST ARG_LABELS)
    add_dependencies(threads_tests ${name})
  endif()
  gtest_discover_tests(${name} DISCOVERY_MODE PRE_TEST DISCOVERY_TIMEOUT 60 PROPERTIES ${properties})
  if(ARG_LABELS)
    # gtest_discover_tests takes no value that is a list, so that several labels are set after the discovery.
    set(labels ${CMAKE_CURRENT_BINARY_DIR}/${name}_labels.cmake)
    file(WRITE ${labels} "if(${name}_TESTS)\n  set_tests_properties(\${${name}_TESTS} PROPERTIES LABELS \"${ARG_LABELS}\")\nendif()\n")
    set_property(DIRECTORY APPEND PROPERTY TEST_INCLUDE_FILES ${labels})
  endif()
endfunction()

# tevanto_fuzz(<name> SOURCES a.cpp ... LINK lib ... [MAX_LENGTH bytes])
# One libFuzzer program with the seed corpus fuzz/corpus/<name>; as a CTest test it makes a bounded number of runs.
function(tevanto_fuzz name)
  cmake_parse_arguments(ARG "" "MAX_LENGTH" "SOURCES;LINK" ${ARGN})
  if(NOT ARG_MAX_LENGTH)
    set(ARG_MAX_LENGTH 4096)
  endif()
  add_executable(${name} ${ARG_SOURCES})
  target_compile_options(${name} PRIVATE -fsanitize=fuzzer)
  target_link_options(${name} PRIVATE -fsanitize=fuzzer)
  target_link_libraries(${name} PRIVATE tevanto_options ${ARG_LINK})
  add_dependencies(fuzz_targets ${name})
  add_test(NAME ${name}
    COMMAND ${CMAKE_SOURCE_DIR}/scripts/fuzz-bounded $<TARGET_FILE:${name}> ${CMAKE_SOURCE_DIR}/fuzz/corpus/${name} ${ARG_MAX_LENGTH})
  set_tests_properties(${name} PROPERTIES LABELS fuzz TIMEOUT 300)
endfunction()
