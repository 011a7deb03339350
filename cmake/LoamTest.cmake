# loam_test(name LABEL... SOURCES a.cpp... [LIBS target...]): one GoogleTest program of a room's tests.
#
# Tests are compiled without optimisation: what they test is in the libraries, and compiling it once more, optimised, was
# the larger half of their building. Neighbours are compiled together where LOAM_UNITY says so.
function(loam_test name)
  cmake_parse_arguments(TEST "" "" "SOURCES;LIBS" ${ARGN})
  add_executable(${name} ${TEST_SOURCES})
  if(LOAM_PRECOMPILE)
    target_precompile_headers(${name} REUSE_FROM loam_test_headers)
  endif()
  target_compile_options(${name} PRIVATE -O0)
  set_target_properties(${name} PROPERTIES UNITY_BUILD ${LOAM_UNITY} UNITY_BUILD_BATCH_SIZE 4)
  target_link_libraries(${name} PRIVATE loam_options ${TEST_LIBS} GTest::gtest GTest::gmock GTest::gtest_main)
  target_include_directories(${name} PRIVATE ${PROJECT_SOURCE_DIR} ${PROJECT_SOURCE_DIR}/framework ${PROJECT_SOURCE_DIR}/tests)
  # One ctest entry for each program: discovery would start every program once more at build time.
  add_test(NAME ${name} COMMAND ${name})
  set_tests_properties(${name} PROPERTIES TIMEOUT 600)
endfunction()

# loam_skip_sanitized(test...): tests of what files hold and how long things take, not of memory. Under a sanitizer they take
# longer than all the rest; they are built there by their names alone, and ctest tells that they are left out.
function(loam_skip_sanitized)
  if(LOAM_SANITIZE)
    foreach(test ${ARGN})
      set_tests_properties(${test} PROPERTIES DISABLED ON)
      if(TARGET ${test})
        set_target_properties(${test} PROPERTIES EXCLUDE_FROM_ALL ON)
      endif()
    endforeach()
  endif()
endfunction()

# All test programs are compiled with the same options, so that one set of precompiled headers serves them all. It
# belongs to a program, since those are compiled otherwise than libraries.
if(LOAM_PRECOMPILE)
  file(CONFIGURE OUTPUT ${CMAKE_BINARY_DIR}/loam_test_headers.cpp CONTENT "int main() {}\n")
  add_executable(loam_test_headers ${CMAKE_BINARY_DIR}/loam_test_headers.cpp)
  target_compile_options(loam_test_headers PRIVATE -O0)
  target_link_libraries(loam_test_headers PRIVATE loam_options fmt::fmt Boost::headers GTest::gtest GTest::gmock)
  loam_precompile(loam_test_headers MORE <gtest/gtest.h> <gmock/gmock.h>)
endif()
