# Every folder of the source tree is one static library, tevanto_<folder>, with the same warnings and sanitizers.

find_program(TEVANTO_CCACHE ccache)
if(TEVANTO_CCACHE)
  set(CMAKE_CXX_COMPILER_LAUNCHER ${TEVANTO_CCACHE})
  set(CMAKE_C_COMPILER_LAUNCHER ${TEVANTO_CCACHE})
endif()

# Used where it is installed; scripts/setup installs it.
find_program(TEVANTO_LLD ld.lld)
if(TEVANTO_LLD AND CMAKE_SYSTEM_NAME STREQUAL "Linux")
  add_link_options(-fuse-ld=lld)
endif()

add_library(tevanto_options INTERFACE)
target_compile_options(tevanto_options INTERFACE
  -Wall -Wextra -Wpedantic -Wshadow -Wnon-virtual-dtor -Woverloaded-virtual -Werror -fno-omit-frame-pointer)
if(TEVANTO_UNITY AND CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
  # It takes a source that is compiled together with others for a header.
  target_compile_options(tevanto_options INTERFACE -Wno-subobject-linkage)
endif()
target_include_directories(tevanto_options INTERFACE ${CMAKE_SOURCE_DIR}/src)
target_compile_definitions(tevanto_options INTERFACE TEVANTO_VERSION="${PROJECT_VERSION}")
if(CMAKE_SYSTEM_NAME STREQUAL "Linux")
  # A folder is one object: what a program does not use of it goes.
  target_compile_options(tevanto_options INTERFACE -ffunction-sections -fdata-sections)
  target_link_options(tevanto_options INTERFACE -Wl,--gc-sections)
endif()
if(TEVANTO_SANITIZE)
  target_compile_options(tevanto_options INTERFACE -fsanitize=${TEVANTO_SANITIZE} -fno-sanitize-recover=all)
  target_link_options(tevanto_options INTERFACE -fsanitize=${TEVANTO_SANITIZE})
  if(CMAKE_CXX_COMPILER_ID STREQUAL "Clang" AND TEVANTO_SANITIZE MATCHES "undefined")
    # Calls through pointers into libraries that were built without it.
    target_compile_options(tevanto_options INTERFACE -fno-sanitize=function)
  endif()
  # With a sanitizer's code in between, g++ 12 takes the members of a variant that are not active for read.
  target_compile_options(tevanto_options INTERFACE $<$<CXX_COMPILER_ID:GNU>:-Wno-maybe-uninitialized>)
  if(TEVANTO_SANITIZE MATCHES "thread")
    # ThreadSanitizer knows no bare fences; Asio's own locks order the same accesses.
    target_compile_definitions(tevanto_options INTERFACE BOOST_ASIO_DISABLE_FENCED_BLOCK)
  endif()
endif()

# What ./run needs; what ./test builds with ThreadSanitizer; what it builds with libFuzzer; what bench/run measures.
add_custom_target(programs)
add_custom_target(threads_tests)
add_custom_target(fuzz_targets)
add_custom_target(benchmarks)

# tevanto_library(<name> SOURCES a.cpp ... [PUBLIC lib ...] [PRIVATE lib ...])
function(tevanto_library name)
  cmake_parse_arguments(ARG "" "" "SOURCES;PUBLIC;PRIVATE" ${ARGN})
  add_library(tevanto_${name} STATIC ${ARG_SOURCES})
  target_link_libraries(tevanto_${name} PUBLIC tevanto_options ${ARG_PUBLIC} PRIVATE ${ARG_PRIVATE})
endfunction()

# tevanto_room(<folder below src/> SOURCES a.cpp ... USES room ...)
# The one static library of a folder, tevanto_<folder with underscores>. tests/structure reads the same calls: what a room
# may include is what it links.
#   SOURCES                on every system; LINUX and MACOS on one only
#   SEPARATE               sources of another target of the same CMakeLists.txt, or of one of several processors
#   PUBLIC_HEADERS         what other rooms may include
#   USES                   the rooms whose public headers it may include; USES_LINUX, USES_MACOS on one system only
#   LIBRARIES              of third parties, for the sources; PUBLIC_LIBRARIES for the headers too
function(tevanto_room room)
  cmake_parse_arguments(ARG "" "" "SOURCES;LINUX;MACOS;SEPARATE;PUBLIC_HEADERS;USES;USES_LINUX;USES_MACOS;LIBRARIES;PUBLIC_LIBRARIES;LIBRARIES_LINUX;LIBRARIES_MACOS" ${ARGN})
  if(CMAKE_SYSTEM_NAME STREQUAL "Darwin")
    list(APPEND ARG_SOURCES ${ARG_MACOS})
    list(APPEND ARG_USES ${ARG_USES_MACOS})
    list(APPEND ARG_LIBRARIES ${ARG_LIBRARIES_MACOS})
  else()
    list(APPEND ARG_SOURCES ${ARG_LINUX})
    list(APPEND ARG_USES ${ARG_USES_LINUX})
    list(APPEND ARG_LIBRARIES ${ARG_LIBRARIES_LINUX})
  endif()
  string(REPLACE "/" "_" name ${room})
  list(TRANSFORM ARG_USES REPLACE "/" "_")
  list(TRANSFORM ARG_USES PREPEND tevanto_)
  if(ARG_SOURCES)
    add_library(tevanto_${name} STATIC ${ARG_SOURCES})
    target_link_libraries(tevanto_${name} PUBLIC tevanto_options ${ARG_USES} ${ARG_PUBLIC_LIBRARIES} PRIVATE ${ARG_LIBRARIES})
    set_target_properties(tevanto_${name} PROPERTIES UNITY_BUILD ${TEVANTO_UNITY} UNITY_BUILD_BATCH_SIZE 0)
    if(TEVANTO_FUZZ)
      # Coverage of the libraries is what leads the fuzzer into them.
      target_compile_options(tevanto_${name} PRIVATE -fsanitize=fuzzer-no-link)
    endif()
  else()
    add_library(tevanto_${name} INTERFACE)
    target_link_libraries(tevanto_${name} INTERFACE tevanto_options ${ARG_USES} ${ARG_PUBLIC_LIBRARIES})
  endif()
endfunction()

# tevanto_program(<name> SOURCES a.cpp ... LINK lib ...)
function(tevanto_program name)
  cmake_parse_arguments(ARG "" "" "SOURCES;LINK" ${ARGN})
  add_executable(${name} ${ARG_SOURCES})
  target_link_libraries(${name} PRIVATE tevanto_options ${ARG_LINK})
  # Programs that only tests start are not what a user builds, and benchmarks are built when they are asked for.
  if(CMAKE_CURRENT_SOURCE_DIR MATCHES "^${CMAKE_SOURCE_DIR}/src/")
    add_dependencies(programs ${name})
  elseif(CMAKE_CURRENT_SOURCE_DIR MATCHES "^${CMAKE_SOURCE_DIR}/bench")
    set_target_properties(${name} PROPERTIES EXCLUDE_FROM_ALL ON)
    add_dependencies(benchmarks ${name})
  endif()
endfunction()

# tevanto_module(<name> ENTRY a.cpp [SOURCES b.cpp ...] LINK lib ...)
# A part that a program loads when it needs it: lib/tevanto/<name>.so beside the programs' folder. It exports the
# functions of its entry whose C names begin with "tevanto"; all else binds within the module.
file(WRITE ${CMAKE_BINARY_DIR}/module.map "{ global: tevanto*; local: *; };\n")
function(tevanto_module name)
  cmake_parse_arguments(ARG "" "ENTRY" "SOURCES;LINK" ${ARGN})
  add_library(${name} MODULE ${ARG_ENTRY} ${ARG_SOURCES})
  target_link_libraries(${name} PRIVATE tevanto_options ${ARG_LINK})
  set_target_properties(${name} PROPERTIES PREFIX "" LIBRARY_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/lib/tevanto)
  target_compile_options(${name} PRIVATE -fvisibility=hidden -fvisibility-inlines-hidden)
  target_link_options(${name} PRIVATE -Wl,--as-needed -Wl,--version-script=${CMAKE_BINARY_DIR}/module.map)
  # Modules that only tests load are not what a user builds.
  if(CMAKE_CURRENT_SOURCE_DIR MATCHES "^${CMAKE_SOURCE_DIR}/src/")
    add_dependencies(programs ${name})
  endif()
endfunction()

# tevanto_test(<name> SOURCES a.cpp ... LINK lib ... [PROGRAMS target ...] [TIMEOUT seconds] [LABELS label ...] [SERIAL])
# One GoogleTest program; each of its tests is one CTest test, so that the closing line counts them.
# PROGRAMS: what the tests start or load. The path of tevanto is TEVANTO_PROGRAM in their sources, of tevanto-phone
#   TEVANTO_PHONE, of another executable its name in capitals.
# SERIAL: the tests start servers that would disturb one another.
# Labels: "threads" also runs under ThreadSanitizer; "e2e" and "long" do not run under AddressSanitizer, where
# "e2e-asan" does.
function(tevanto_test name)
  cmake_parse_arguments(ARG "SERIAL" "TIMEOUT" "SOURCES;LINK;PROGRAMS;LABELS" ${ARGN})
  if(NOT ARG_TIMEOUT)
    set(ARG_TIMEOUT 120)
  endif()
  add_executable(${name} ${ARG_SOURCES})
  target_include_directories(${name} PRIVATE ${CMAKE_SOURCE_DIR})
  target_link_libraries(${name} PRIVATE tevanto_options GTest::gtest GTest::gmock GTest::gtest_main ${ARG_LINK})
  set_target_properties(${name} PROPERTIES UNITY_BUILD ${TEVANTO_UNITY} UNITY_BUILD_BATCH_SIZE ${TEVANTO_TESTS_AT_ONCE})
  # The tests themselves, not what they test. Time in the compiler, of two of them: 17.7 and 21.6 s with -O1, 13.1 and
  # 15.6 s with -O0.
  target_compile_options(${name} PRIVATE $<$<CONFIG:Release>:-O0>)
  foreach(program IN LISTS ARG_PROGRAMS)
    add_dependencies(${name} ${program})
    get_target_property(type ${program} TYPE)
    if(type STREQUAL "EXECUTABLE")
      string(MAKE_C_IDENTIFIER ${program} variable)
      string(TOUPPER ${variable} variable)
      if(program STREQUAL "tevanto")
        set(variable TEVANTO_PROGRAM)
      endif()
      target_compile_definitions(${name} PRIVATE ${variable}="$<TARGET_FILE:${program}>")
    endif()
  endforeach()
  set(properties TIMEOUT ${ARG_TIMEOUT})
  if(ARG_SERIAL)
    list(APPEND properties RUN_SERIAL ON)
  endif()
  if("long" IN_LIST ARG_LABELS)
    list(APPEND properties COST 1000)  # first, so that the others run beside them
  elseif("e2e" IN_LIST ARG_LABELS OR "e2e-asan" IN_LIST ARG_LABELS)
    list(APPEND properties COST 100)
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
# One libFuzzer program; as a CTest test it makes a bounded number of runs. Its seeds are fuzz/corpus/<name> and those that
# scripts/vector-seeds makes for it of tests/vectors.
function(tevanto_fuzz name)
  cmake_parse_arguments(ARG "" "MAX_LENGTH" "SOURCES;LINK" ${ARGN})
  if(NOT ARG_MAX_LENGTH)
    set(ARG_MAX_LENGTH 4096)
  endif()
  add_executable(${name} ${ARG_SOURCES})
  target_compile_options(${name} PRIVATE -fsanitize=fuzzer)
  target_link_options(${name} PRIVATE -fsanitize=fuzzer)
  target_link_libraries(${name} PRIVATE tevanto_options ${ARG_LINK})
  add_dependencies(fuzz_targets ${name} vector_seeds)
  add_test(NAME ${name}
    COMMAND ${CMAKE_SOURCE_DIR}/scripts/fuzz-bounded $<TARGET_FILE:${name}> ${CMAKE_SOURCE_DIR}/fuzz/corpus/${name} ${ARG_MAX_LENGTH}
            ${TEVANTO_VECTOR_SEEDS}/${name})
  set_tests_properties(${name} PROPERTIES LABELS fuzz TIMEOUT 300)
endfunction()
