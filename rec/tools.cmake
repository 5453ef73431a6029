# The pieces hosts and the replayer build on:
#   vorn_rec_replay_call  one recorded call replayed through the library
#                         (replay_call in values.hh), for vorn-replay
#   vorn_rec_sdk          the SDK decorator (sdk_recorder.hh), a static PIC
#                         library for hosts that wrap their own SDK object
add_library(vorn_rec_replay_call STATIC ${CMAKE_CURRENT_LIST_DIR}/replay_call.cc)
target_include_directories(vorn_rec_replay_call PUBLIC ${CMAKE_CURRENT_LIST_DIR} ${VORN_META_DIR})
# The entry points come from the library; the SDK object from the host the
# program links (vornsdk_get_sdk_instance, for the SDK slots).
target_link_libraries(vorn_rec_replay_call PUBLIC vorn_rec_format vornlcapi)
target_compile_options(vorn_rec_replay_call PRIVATE ${VORN_WARNINGS})

add_library(vorn_rec_sdk STATIC ${CMAKE_CURRENT_LIST_DIR}/sdk_recorder.cc)
target_include_directories(vorn_rec_sdk PUBLIC ${CMAKE_CURRENT_LIST_DIR} ${VORN_META_DIR}
                                               ${PROJECT_SOURCE_DIR}/include ${PROJECT_SOURCE_DIR}/platform)
target_link_libraries(vorn_rec_sdk PUBLIC vorn_rec_format)
target_compile_options(vorn_rec_sdk PRIVATE ${VORN_WARNINGS})
set_target_properties(vorn_rec_sdk PROPERTIES POSITION_INDEPENDENT_CODE ON)
# The decorator records through the process's recorder: a host linking it
# has its own (vornrec_start/stop and VORN_RECORD at start, as libvornrec).
target_sources(vorn_rec_sdk PRIVATE ${CMAKE_CURRENT_LIST_DIR}/recorder.cc)
target_link_libraries(vorn_rec_sdk PUBLIC ${CMAKE_DL_LIBS})

if(VORN_BUILD_TESTS)
  if(NOT TARGET GTest::gtest_main)
    find_package(GTest REQUIRED)
  endif()
  set(_vorn_rec_tool_tests ${PROJECT_SOURCE_DIR}/tests/rec)

  # replay_call over the library and the reference host.
  add_executable(vorn_rec_replay_call_tests ${_vorn_rec_tool_tests}/replay_call_test.cc)
  target_link_libraries(vorn_rec_replay_call_tests PRIVATE vorn_rec_replay_call vornlcapi
                                                           "$<LINK_LIBRARY:WHOLE_ARCHIVE,vorn_sim>"
                                                           GTest::gtest_main GTest::gtest)
  target_compile_options(vorn_rec_replay_call_tests PRIVATE ${VORN_WARNINGS})
  set_target_properties(vorn_rec_replay_call_tests PROPERTIES ENABLE_EXPORTS ON)
  add_test(NAME vorn_rec_replay_call_tests COMMAND vorn_rec_replay_call_tests)

  # The decorator in a host that wraps the reference host's SDK object: the
  # reference host as a shared library behind the test program, whose own
  # accessor hands out the decorator.
  file(WRITE ${CMAKE_CURRENT_BINARY_DIR}/sdk_test_host.cc "// The reference host, whole, as a shared library.\n")
  add_library(vorn_rec_sdk_test_host SHARED ${CMAKE_CURRENT_BINARY_DIR}/sdk_test_host.cc)
  target_link_libraries(vorn_rec_sdk_test_host PRIVATE "$<LINK_LIBRARY:WHOLE_ARCHIVE,vorn_sim>")
  add_executable(vorn_rec_sdk_tests ${_vorn_rec_tool_tests}/sdk_recorder_test.cc)
  # The library's event-loop symbols come from the program, as in any host.
  target_link_libraries(vorn_rec_sdk_tests PRIVATE vorn_rec_sdk vornlcapi vorn_rec_sdk_test_host
                                                   "$<LINK_LIBRARY:WHOLE_ARCHIVE,vorn_xorp_standin>"
                                                   GTest::gtest_main GTest::gtest)
  target_include_directories(vorn_rec_sdk_tests PRIVATE ${PROJECT_SOURCE_DIR}/sim/include)
  target_compile_options(vorn_rec_sdk_tests PRIVATE ${VORN_WARNINGS})
  set_target_properties(vorn_rec_sdk_tests PROPERTIES ENABLE_EXPORTS ON)
  add_test(NAME vorn_rec_sdk_tests COMMAND vorn_rec_sdk_tests)
endif()
