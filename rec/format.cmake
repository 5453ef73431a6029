# The recording file's format: the writer (linked into libvornrec.so, hence
# PIC and hidden-visibility clean) and the reader (vorn-replay).  values.cmake
# adds the argument values to the same library.
add_library(vorn_rec_format STATIC ${CMAKE_CURRENT_LIST_DIR}/format.cc)
target_include_directories(vorn_rec_format PUBLIC ${CMAKE_CURRENT_LIST_DIR} ${VORN_META_DIR}
                                                  ${PROJECT_SOURCE_DIR}/include ${PROJECT_SOURCE_DIR}/platform)
target_compile_definitions(vorn_rec_format PRIVATE VORN_REC_LIBRARY_VERSION="${PROJECT_VERSION}")
target_compile_options(vorn_rec_format PRIVATE ${VORN_WARNINGS})
set_target_properties(vorn_rec_format PROPERTIES POSITION_INDEPENDENT_CODE ON
                                                 CXX_VISIBILITY_PRESET hidden VISIBILITY_INLINES_HIDDEN ON)

if(VORN_BUILD_TESTS)
  # GoogleTest's imported targets are found in tests/; rec/ finds its own.
  if(NOT TARGET GTest::gtest_main)
    find_package(GTest REQUIRED)
  endif()
  set(_vorn_format_tests ${PROJECT_SOURCE_DIR}/tests/rec)
  add_executable(vorn_rec_format_tests ${_vorn_format_tests}/format_test.cc ${_vorn_format_tests}/format_damage_test.cc
                                       ${_vorn_format_tests}/format_writer_test.cc
                                       ${PROJECT_SOURCE_DIR}/tests/count_allocations.cc)
  target_include_directories(vorn_rec_format_tests PRIVATE ${PROJECT_SOURCE_DIR}/tests)
  target_link_libraries(vorn_rec_format_tests PRIVATE vorn_rec_format GTest::gtest_main GTest::gtest)
  # It counts allocations: GCC pairs the replaced operators with malloc and free and warns of a mismatch.
  target_compile_options(vorn_rec_format_tests PRIVATE ${VORN_WARNINGS} -Wno-mismatched-new-delete)
  add_test(NAME vorn_rec_format_tests COMMAND vorn_rec_format_tests)
endif()
