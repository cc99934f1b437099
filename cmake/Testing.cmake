# korvo_add_test(NAME name SOURCES file... [LIBS target...] [LABEL label] [SEPARATELY])
#
# Builds one GoogleTest and GoogleMock program from the sources and registers each of its test cases
# with ctest as "name.Suite.Case". The cases are listed when ctest starts, not when the program is
# linked, so that a build does not have to run what it builds. A label serves `ctest -L label`; CMake
# 3.25 carries no more than one through to cases that are found this way. SEPARATELY: each source by
# itself, where sources use one name for different things of their own.

include(GoogleTest)

# Seconds after which a test has gone wrong. A sanitizer's build takes several times as long.
set(testTimeout 120)
if(KORVO_SANITIZE)
  set(testTimeout 480)
endif()

# What most tests include takes longer to read than the tests to compile: read once, kept precompiled.
# The options are those of a test program, whose position-independent code is a program's.
add_library(korvo_test_headers OBJECT "${CMAKE_CURRENT_LIST_DIR}/TestHeaders.cpp")
target_link_libraries(korvo_test_headers PRIVATE
  korvo_fmt absl::btree GTest::gmock rapidcheck rapidcheck_gtest)
target_compile_options(korvo_test_headers PRIVATE -O0 -U_FORTIFY_SOURCE -fPIE)
set_target_properties(korvo_test_headers PROPERTIES POSITION_INDEPENDENT_CODE OFF)
target_precompile_headers(korvo_test_headers PRIVATE
  <algorithm> <array> <charconv> <chrono> <fstream> <functional> <map> <memory> <optional> <set> <span>
  <sstream> <stdexcept> <string> <variant> <vector>
  <absl/container/btree_map.h> <fmt/format.h>
  <gmock/gmock.h> <gtest/gtest.h> <rapidcheck.h> <rapidcheck/gtest.h>)

# ccache asks for this option of g++ before it looks at a source with precompiled headers.
set(precompiledOptions "")
if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU" AND NOT CMAKE_DISABLE_PRECOMPILE_HEADERS)
  set(precompiledOptions -fpch-preprocess)
endif()
target_compile_options(korvo_test_headers PRIVATE ${precompiledOptions})

function(korvo_add_test)
  cmake_parse_arguments(PARSE_ARGV 0 arg "SEPARATELY" "NAME;LABEL" "SOURCES;LIBS")
  if(NOT arg_NAME OR NOT arg_SOURCES OR arg_UNPARSED_ARGUMENTS)
    message(FATAL_ERROR "korvo_add_test(NAME name SOURCES file... [LIBS target...] [LABEL label])")
  endif()
  add_executable(${arg_NAME} ${arg_SOURCES})
  target_link_libraries(${arg_NAME} PRIVATE ${arg_LIBS} GTest::gmock GTest::gmock_main)
  # Most of a test's code runs once; compiling it is what takes time.
  target_compile_options(${arg_NAME} PRIVATE -O0 -U_FORTIFY_SOURCE ${precompiledOptions})
  target_precompile_headers(${arg_NAME} REUSE_FROM korvo_test_headers)
  if(arg_SEPARATELY)
    set_target_properties(${arg_NAME} PROPERTIES UNITY_BUILD OFF)
  endif()
  set_target_properties(${arg_NAME} PROPERTIES
    RUNTIME_OUTPUT_DIRECTORY "${CMAKE_BINARY_DIR}/tests/bin")
  set(properties TIMEOUT ${testTimeout})
  if(arg_LABEL)
    list(APPEND properties LABELS "${arg_LABEL}")
  endif()
  # A parameter goes by its index or its given name: printed, it may hold addresses, and the case
  # would have another name in every run.
  gtest_discover_tests(${arg_NAME}
    NO_PRETTY_VALUES
    TEST_PREFIX "${arg_NAME}."
    DISCOVERY_MODE PRE_TEST
    DISCOVERY_TIMEOUT 120
    PROPERTIES ${properties})
endfunction()

# korvo_add_python_tests(NAME name [TIMEOUT seconds] [ENVIRONMENT variable=value...])
#
# Registers each test of the unittest modules test_*.py of the current folder with ctest as
# "name.module.Class.test", with the label `name`. They find the build in KORVO_BUILD_DIR and the
# sanitizers that it was built with in KORVO_SANITIZED.
function(korvo_add_python_tests)
  cmake_parse_arguments(PARSE_ARGV 0 arg "" "NAME;TIMEOUT" "ENVIRONMENT")
  if(NOT arg_NAME OR arg_UNPARSED_ARGUMENTS)
    message(FATAL_ERROR
      "korvo_add_python_tests(NAME name [TIMEOUT seconds] [ENVIRONMENT variable=value...])")
  endif()
  if(NOT arg_TIMEOUT)
    set(arg_TIMEOUT ${testTimeout})
  endif()
  set(lister "${PROJECT_SOURCE_DIR}/cmake/ListPythonTests.py")
  file(GLOB modules CONFIGURE_DEPENDS "${CMAKE_CURRENT_SOURCE_DIR}/test_*.py")
  set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${modules} "${lister}")
  execute_process(
    COMMAND "${KORVO_PYTHON}" "${lister}" "${CMAKE_CURRENT_SOURCE_DIR}"
    OUTPUT_VARIABLE tests OUTPUT_STRIP_TRAILING_WHITESPACE COMMAND_ERROR_IS_FATAL ANY)
  string(REPLACE "\n" ";" tests "${tests}")
  set(environment "KORVO_BUILD_DIR=${CMAKE_BINARY_DIR}" "KORVO_SANITIZED=${KORVO_SANITIZE}"
    ${arg_ENVIRONMENT})
  foreach(test IN LISTS tests)
    add_test(NAME "${arg_NAME}.${test}"
      COMMAND "${KORVO_PYTHON}" -B -m unittest "${test}"
      WORKING_DIRECTORY "${CMAKE_CURRENT_SOURCE_DIR}")
    set_tests_properties("${arg_NAME}.${test}" PROPERTIES
      TIMEOUT ${arg_TIMEOUT}
      LABELS "${arg_NAME}"
      SKIP_REGULAR_EXPRESSION "OK \\(skipped=1\\)"
      ENVIRONMENT "${environment}")
  endforeach()
endfunction()
