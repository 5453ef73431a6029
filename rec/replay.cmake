# vorn-replay: a recording replayed through the library onto the reference
# host (rec/replay.hh).
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
