# vorn-replay: a recording replayed through the library onto the reference
# host (rec/replay.hh), and the round-trip tests: programs recorded under
# libvornrec, then replayed.
add_library(vorn_rec_replay OBJECT ${CMAKE_CURRENT_LIST_DIR}/replay.cc)
target_include_directories(vorn_rec_replay PUBLIC ${CMAKE_CURRENT_LIST_DIR} ${VORN_META_DIR})
target_link_libraries(vorn_rec_replay PRIVATE vornlcapi vorn_model)
target_compile_options(vorn_rec_replay PRIVATE ${VORN_WARNINGS})

# What a replaying program links: the replayer, the replay of one call, the
# values and the file, the library, and the reference host whose symbols the
# library resolves from the program (hence ENABLE_EXPORTS).
set(VORN_REPLAY_LIBRARIES vorn_rec_replay vorn_rec_replay_call vorn_rec_format vornlcapi
                          "$<LINK_LIBRARY:WHOLE_ARCHIVE,vorn_sim>")

add_executable(vorn-replay ${CMAKE_CURRENT_LIST_DIR}/replay_main.cc)
target_link_libraries(vorn-replay PRIVATE ${VORN_REPLAY_LIBRARIES})
target_compile_options(vorn-replay PRIVATE ${VORN_WARNINGS})
set_target_properties(vorn-replay PROPERTIES ENABLE_EXPORTS ON INSTALL_RPATH "$ORIGIN/../${CMAKE_INSTALL_LIBDIR}")
install(TARGETS vorn-replay RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT reference-host)

if(VORN_BUILD_TESTS)
  set(_vorn_rec_tests ${PROJECT_SOURCE_DIR}/tests/rec)

  # Programs to record: a C program over the C binding alone, and one that
  # pulls cables and receives frames between its calls.  Both run over the
  # reference host.
  add_executable(vorn_round_trip_c ${_vorn_rec_tests}/round_trip_c.c)
  set_source_files_properties(${_vorn_rec_tests}/round_trip_c.c PROPERTIES COMPILE_OPTIONS "-Wall;-Wextra;-pedantic;-Werror")
  set_target_properties(vorn_round_trip_c PROPERTIES C_STANDARD 99 C_EXTENSIONS OFF ENABLE_EXPORTS ON
                                                     LINKER_LANGUAGE CXX)
  target_link_libraries(vorn_round_trip_c PRIVATE vornlcapi "$<LINK_LIBRARY:WHOLE_ARCHIVE,vorn_sim>")

  add_executable(vorn_round_trip_events ${_vorn_rec_tests}/round_trip_events.cc)
  target_link_libraries(vorn_round_trip_events PRIVATE vornlcapi "$<LINK_LIBRARY:WHOLE_ARCHIVE,vorn_sim>")
  target_compile_options(vorn_round_trip_events PRIVATE ${VORN_WARNINGS})
  set_target_properties(vorn_round_trip_events PROPERTIES ENABLE_EXPORTS ON)

  add_executable(vorn_rec_replay_tests ${_vorn_rec_tests}/replay_test.cc)
  target_link_libraries(vorn_rec_replay_tests PRIVATE ${VORN_REPLAY_LIBRARIES} GTest::gtest_main GTest::gtest)
  target_compile_options(vorn_rec_replay_tests PRIVATE ${VORN_WARNINGS})
  set_target_properties(vorn_rec_replay_tests PROPERTIES ENABLE_EXPORTS ON)
  add_test(NAME vorn_rec_replay_tests COMMAND vorn_rec_replay_tests)

  # Record, replay, damage, replay again.  Under a cross build the programs
  # run under the emulator, which the driver passes on.
  string(REPLACE ";" " " _vorn_emulator "${CMAKE_CROSSCOMPILING_EMULATOR}")
  add_test(NAME vorn_rec_round_trip
           COMMAND /usr/bin/python3 ${_vorn_rec_tests}/round_trip_test.py
                   --emulator "${_vorn_emulator}"
                   --replay $<TARGET_FILE:vorn-replay>
                   --recorder $<TARGET_FILE:vornrec>
                   --bringup $<TARGET_FILE:vorn_bringup>
                   --c-program $<TARGET_FILE:vorn_round_trip_c>
                   --events $<TARGET_FILE:vorn_round_trip_events>
                   --fixtures ${_vorn_rec_tests}/fixtures
                   --work ${CMAKE_CURRENT_BINARY_DIR}/round_trip)
endif()
