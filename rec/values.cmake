# Argument values by kind and the entry points' shapes: the reading side in
# values.cc, added to the format library; the recording side is the
# header-only put_values.hh.
target_sources(vorn_rec_format PRIVATE ${CMAKE_CURRENT_LIST_DIR}/values.cc)

if(VORN_BUILD_TESTS)
  add_executable(vorn_rec_values_tests ${PROJECT_SOURCE_DIR}/tests/rec/values_test.cc)
  target_link_libraries(vorn_rec_values_tests PRIVATE vorn_rec_format GTest::gtest_main GTest::gtest)
  target_compile_options(vorn_rec_values_tests PRIVATE ${VORN_WARNINGS})
  add_test(NAME vorn_rec_values_tests COMMAND vorn_rec_values_tests)
endif()
