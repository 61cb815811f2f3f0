# norvik_add_test(NAME SOURCES... LIBS... [WIRE] [ISOLATED] [TIMEOUT seconds] [ENV NAME=value...])
#
# One executable, one CTest entry. WIRE gives the test a DDS domain of its own and confines it to this machine, so that
# wire tests run side by side without seeing each other. ISOLATED runs every case in a process of its own, for code
# with once-per-process state. WIRE tests carry the label "wire", the others "unit".
find_package(GTest REQUIRED)
include(GoogleTest)

set_property(GLOBAL PROPERTY NORVIK_NEXT_DOMAIN 1)

# The code of tests runs for moments and is compiled for minutes: what it tests is optimised, it is not.
function(norvik_compile_test target)
  target_compile_options(${target} PRIVATE $<$<CONFIG:Release>:-O0>)
endfunction()

# Does nothing but own the precompiled headers of all tests.
file(WRITE ${PROJECT_BINARY_DIR}/test_precompiled.cpp "int main() {}\n")
add_executable(norvik_test_precompiled ${PROJECT_BINARY_DIR}/test_precompiled.cpp)
target_link_libraries(norvik_test_precompiled PRIVATE GTest::gmock GTest::gtest norvik_warnings Threads::Threads)
norvik_precompile(norvik_test_precompiled <gmock/gmock.h> <gtest/gtest.h>)
norvik_compile_test(norvik_test_precompiled)

function(norvik_add_test name)
  cmake_parse_arguments(arg "WIRE;ISOLATED" "TIMEOUT" "SOURCES;LIBS;ENV" ${ARGN})
  if(NOT arg_TIMEOUT)
    set(arg_TIMEOUT 120)
  endif()
  add_executable(${name} ${arg_SOURCES})
  target_link_libraries(${name} PRIVATE ${arg_LIBS} GTest::gmock GTest::gtest GTest::gtest_main norvik_warnings)

  norvik_compile_test(${name})
  norvik_share_precompiled(${name} norvik_test_precompiled)

  set(environment "SKIP_DEFAULT_XML_FILE=1" "NORVIK_SDK_SKIP_VERSION_CHECK=1" ${arg_ENV})
  set(label unit)
  if(arg_WIRE)
    set(label wire)
    get_property(domain GLOBAL PROPERTY NORVIK_NEXT_DOMAIN)
    if(domain GREATER 100)
      message(FATAL_ERROR "${name}: no DDS domain left for wire tests (1 to 100)")
    endif()
    math(EXPR next "${domain} + 1")
    set_property(GLOBAL PROPERTY NORVIK_NEXT_DOMAIN ${next})
    list(APPEND environment "OVIMUX_DOMAIN_ID=${domain}" "OVIMUX_LOCALHOST_ONLY=1")
  endif()
  if(NORVIK_SANITIZE MATCHES "thread")
    # Races inside Debian's libraries, which are not instrumented, cannot be judged; death tests fork with threads.
    list(APPEND environment "TSAN_OPTIONS=suppressions=${PROJECT_SOURCE_DIR}/cmake/tsan.supp halt_on_error=1 \
ignore_noninstrumented_modules=1 die_after_fork=0")
  endif()

  if(arg_ISOLATED)
    set(lock)
    if(arg_WIRE)
      set(lock RESOURCE_LOCK ${name})
    endif()
    gtest_discover_tests(${name} TEST_PREFIX ${name}. DISCOVERY_MODE PRE_TEST DISCOVERY_TIMEOUT 60 NO_PRETTY_VALUES
      TEST_LIST ${name}_cases PROPERTIES TIMEOUT ${arg_TIMEOUT} LABELS ${label} ${lock})
    # gtest_discover_tests flattens lists, so that only the first variable would arrive: set them on the found cases.
    set(script ${CMAKE_CURRENT_BINARY_DIR}/${name}_environment.cmake)
    file(WRITE ${script} "set_tests_properties(\${${name}_cases} PROPERTIES ENVIRONMENT \"${environment}\")\n")
    set_property(DIRECTORY APPEND PROPERTY TEST_INCLUDE_FILES ${script})
  else()
    add_test(NAME ${name} COMMAND ${name})
    set_tests_properties(${name} PROPERTIES TIMEOUT ${arg_TIMEOUT} LABELS ${label} ENVIRONMENT "${environment}")
  endif()
endfunction()
