# Configures the build as a Mac would, on Linux: the frameworks are our own declarations (tests/macos/include), the
# libraries this machine's. Nothing is ever linked; scripts/check-macos reads what CMake would compile there.
set(CMAKE_SYSTEM_NAME Darwin)
set(CMAKE_SYSTEM_PROCESSOR x86_64)
set(CMAKE_C_COMPILER /usr/bin/clang-14)
foreach(language CXX OBJCXX)
  set(CMAKE_${language}_COMPILER /usr/bin/clang++-14)
endforeach()
foreach(language C CXX OBJCXX)
  set(CMAKE_${language}_COMPILER_TARGET x86_64-apple-macos13.0)
  # Where Debian's packages are.
  set(CMAKE_${language}_LIBRARY_ARCHITECTURE x86_64-linux-gnu)
endforeach()
set(CMAKE_LIBRARY_ARCHITECTURE x86_64-linux-gnu)
set(CMAKE_TRY_COMPILE_TARGET_TYPE STATIC_LIBRARY)
# What CMake asks for and never has to use.
set(CMAKE_RANLIB /bin/true)
set(CMAKE_INSTALL_NAME_TOOL /bin/true)

# Qt for a Mac asks for it as a framework.
set(OPENGL_INCLUDE_DIR /usr/include)
set(OPENGL_gl_LIBRARY /usr/lib/x86_64-linux-gnu/libGL.so)
set(TEVANTO_LKRTC /nowhere/WebRTC.framework CACHE FILEPATH "")
