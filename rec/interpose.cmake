# libvornrec.so: preloaded in front of libvornlcapi, it stands in for every
# entry point and records the calls and the callbacks.  Never linked against
# libvornlcapi: the real functions are found with dlsym(RTLD_NEXT, ...).  It
# takes the library's headers and its ABI setting only.
#
# The interposing code is one object library: libvornrec.so is made of it,
# and vornsh links the same objects into itself (an executable's exported
# definitions come first in the lookup, as a preloaded library's do), so
# `record FILE` needs no library beside vornsh to be found at run time.
add_library(vorn_rec_interpose OBJECT
  ${CMAKE_CURRENT_LIST_DIR}/recorder.cc
  ${CMAKE_CURRENT_LIST_DIR}/interpose.cc
  ${CMAKE_CURRENT_LIST_DIR}/interpose_api.cc
  ${CMAKE_CURRENT_LIST_DIR}/interpose_capi.cc
  ${CMAKE_CURRENT_LIST_DIR}/callbacks.cc)
set_target_properties(vorn_rec_interpose PROPERTIES
  POSITION_INDEPENDENT_CODE ON
  CXX_VISIBILITY_PRESET hidden
  VISIBILITY_INLINES_HIDDEN ON)
target_include_directories(vorn_rec_interpose PRIVATE
  ${CMAKE_CURRENT_LIST_DIR}
  ${VORN_META_DIR}
  $<TARGET_PROPERTY:vornlcapi,INTERFACE_INCLUDE_DIRECTORIES>)
target_compile_options(vorn_rec_interpose PRIVATE ${VORN_WARNINGS})
target_link_libraries(vorn_rec_interpose PRIVATE vorn_rec_format)

add_library(vornrec SHARED $<TARGET_OBJECTS:vorn_rec_interpose>)
set_target_properties(vornrec PROPERTIES
  OUTPUT_NAME vornrec
  LINK_DEPENDS ${CMAKE_CURRENT_LIST_DIR}/vornrec.map)
# The library's std::string and std::list ABI (ppc-abi0 builds the old one)
# for everything recorded: the interposed symbols' names and the values
# passed to the format and values code must agree with libvornlcapi.
target_compile_definitions(vorn_rec_format PUBLIC
  $<TARGET_PROPERTY:vornlcapi,INTERFACE_COMPILE_DEFINITIONS>)
target_link_libraries(vornrec PRIVATE vorn_rec_format ${CMAKE_DL_LIBS})
# Nothing of the static libraries and of libstdc++'s templates is exported:
# the entry points and vornrec_* only.
target_link_options(vornrec PRIVATE -Wl,--exclude-libs,ALL
                    -Wl,--version-script=${CMAKE_CURRENT_LIST_DIR}/vornrec.map)

if(VORN_BUILD_TESTS)
  # The test program is the host: it runs itself again with libvornrec
  # preloaded and reads the recording.  Under a cross build the emulator
  # runs the preloaded host (qemu-ppc -E LD_PRELOAD=...).
  add_executable(vorn_rec_interpose_tests ${PROJECT_SOURCE_DIR}/tests/rec/interpose_test.cc
                                          ${PROJECT_SOURCE_DIR}/tests/count_allocations.cc)
  target_link_libraries(vorn_rec_interpose_tests PRIVATE vornlcapi "$<LINK_LIBRARY:WHOLE_ARCHIVE,vorn_sim>"
                                                         vorn_rec_format GTest::gtest)
  target_include_directories(vorn_rec_interpose_tests PRIVATE ${PROJECT_SOURCE_DIR}/sim/include
                                                             ${PROJECT_SOURCE_DIR}/tests)
  # It counts allocations: GCC pairs the replaced operators with malloc and free and warns of a mismatch.
  target_compile_options(vorn_rec_interpose_tests PRIVATE ${VORN_WARNINGS} -Wno-mismatched-new-delete)
  set_target_properties(vorn_rec_interpose_tests PROPERTIES ENABLE_EXPORTS ON)
  add_dependencies(vorn_rec_interpose_tests vornrec)
  string(REPLACE ";" " " _vornrec_emulator "${CMAKE_CROSSCOMPILING_EMULATOR}")
  add_test(NAME vorn_rec_interpose_tests COMMAND vorn_rec_interpose_tests)
  set_tests_properties(vorn_rec_interpose_tests PROPERTIES ENVIRONMENT
    "VORNREC_TEST_LIBRARY=$<TARGET_FILE:vornrec>;VORNREC_TEST_SELF=$<TARGET_FILE:vorn_rec_interpose_tests>;VORNREC_TEST_NM=${CMAKE_NM};VORNREC_TEST_READELF=${CMAKE_READELF};VORNREC_TEST_EMULATOR=${_vornrec_emulator}")
endif()
