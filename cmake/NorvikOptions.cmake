# Compiler settings shared by every target of the project.

set(CMAKE_CXX_STANDARD 17)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)
set(CMAKE_CXX_VISIBILITY_PRESET hidden)
set(CMAKE_VISIBILITY_INLINES_HIDDEN ON)
set(CMAKE_EXPORT_COMPILE_COMMANDS ON)

if(NOT CMAKE_BUILD_TYPE)
  set(CMAKE_BUILD_TYPE Release CACHE STRING "Build type" FORCE)
endif()

# Everything lands in two folders of the build tree, so that programs find their libraries and each other.
set(CMAKE_RUNTIME_OUTPUT_DIRECTORY ${PROJECT_BINARY_DIR}/bin)
set(CMAKE_LIBRARY_OUTPUT_DIRECTORY ${PROJECT_BINARY_DIR}/lib)
set(CMAKE_INSTALL_RPATH "$ORIGIN/../${CMAKE_INSTALL_LIBDIR}:$ORIGIN")

find_program(CCACHE_PROGRAM ccache)
if(CCACHE_PROGRAM)
  set(CMAKE_C_COMPILER_LAUNCHER ${CCACHE_PROGRAM})
  set(CMAKE_CXX_COMPILER_LAUNCHER ${CCACHE_PROGRAM})
endif()

if(NORVIK_SANITIZE)
  add_compile_options(-fsanitize=${NORVIK_SANITIZE} -fno-omit-frame-pointer)
  add_link_options(-fsanitize=${NORVIK_SANITIZE})
  if(NORVIK_SANITIZE MATCHES "thread")
    # Protocol Buffers' headers lay map fields out differently under this macro, but the packaged library was built
    # without it: every message with a map would be corrupted. The instrumentation itself does not depend on it.
    add_compile_options(-U__SANITIZE_THREAD__)
    add_compile_definitions(NORVIK_THREAD_SANITIZER)  # What tests look at instead.
  endif()
endif()

# Warnings are asked for per target, so that generated code is built without them.
add_library(norvik_warnings INTERFACE)
target_compile_options(norvik_warnings INTERFACE
  -Wall -Wextra -Wpedantic -Wshadow -Wnon-virtual-dtor
  $<$<BOOL:${NORVIK_WERROR}>:-Werror>)

include(NorvikPrecompiled)
