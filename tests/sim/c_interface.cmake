# --- The reference host's C interface (sim/include/vornsim.h): its functions
# in a GoogleTest program linked like the other tests over the reference host;
# then libvornsim.so loaded the way a language runtime loads it, by a C99
# program that links nothing of the project's.
if(VORN_XORP_STANDIN)
  add_executable(vorn_c_interface_tests ${CMAKE_CURRENT_LIST_DIR}/c_interface_test.cc
                                        ${CMAKE_CURRENT_SOURCE_DIR}/count_allocations.cc)
  target_include_directories(vorn_c_interface_tests PRIVATE ${CMAKE_CURRENT_SOURCE_DIR})
  target_link_libraries(vorn_c_interface_tests PRIVATE vornlcapi "$<LINK_LIBRARY:WHOLE_ARCHIVE,vorn_sim>"
                                                       GTest::gtest_main GTest::gtest)
  # It counts allocations: GCC pairs the replaced operators with malloc and free and warns of a mismatch.
  target_compile_options(vorn_c_interface_tests PRIVATE ${VORN_WARNINGS} -Wno-mismatched-new-delete)
  set_target_properties(vorn_c_interface_tests PROPERTIES ENABLE_EXPORTS ON)
  add_test(NAME vorn_c_interface_tests COMMAND vorn_c_interface_tests)

  add_executable(vorn_load_shared ${CMAKE_CURRENT_LIST_DIR}/load_shared.c)
  target_include_directories(vorn_load_shared PRIVATE ${PROJECT_SOURCE_DIR}/include ${PROJECT_SOURCE_DIR}/sim/include)
  target_compile_options(vorn_load_shared PRIVATE -Wall -Wextra -pedantic -Werror)
  set_target_properties(vorn_load_shared PROPERTIES C_STANDARD 99 C_EXTENSIONS OFF)
  target_link_libraries(vorn_load_shared PRIVATE ${CMAKE_DL_LIBS})
  add_dependencies(vorn_load_shared vornsim vornlcapi)
  add_test(NAME vorn_load_shared
           COMMAND vorn_load_shared $<TARGET_FILE:vornsim>
                   $<TARGET_FILE_DIR:vornlcapi>/libvornlcapi.so.0)
endif()
