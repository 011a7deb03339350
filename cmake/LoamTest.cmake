# loam_test(name LABEL... SOURCES a.cpp... [LIBS target...]): one GoogleTest program of a room's tests.
function(loam_test name)
  cmake_parse_arguments(TEST "" "" "SOURCES;LIBS" ${ARGN})
  add_executable(${name} ${TEST_SOURCES})
  target_link_libraries(${name} PRIVATE loam_options ${TEST_LIBS} GTest::gtest GTest::gmock GTest::gtest_main)
  target_include_directories(${name} PRIVATE ${PROJECT_SOURCE_DIR} ${PROJECT_SOURCE_DIR}/framework ${PROJECT_SOURCE_DIR}/tests)
  # One ctest entry for each program: discovery would start every program once more at build time.
  add_test(NAME ${name} COMMAND ${name})
  set_tests_properties(${name} PROPERTIES TIMEOUT 600)
endfunction()
