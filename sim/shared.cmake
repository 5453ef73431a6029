# libvornsim.so: the reference host as a shared library, for processes that
# load the card rather than link it (Python over cffi).  Loaded first with
# RTLD_GLOBAL, it resolves libvornlcapi.so.0's host symbols (the SDK
# accessors, the port mapping, the LAG list, the event loop); its C interface
# is sim/include/vornsim.h.  dlopen'ed by path: no SONAME, and not linked
# against the library.
# Every object of the host and of the stand-in event loop goes in (the
# archives whole), whether or not anything here refers to it; the switch
# model's as the host needs them.
add_library(vornsim SHARED $<TARGET_OBJECTS:vorn_sim> $<TARGET_OBJECTS:vorn_xorp_standin>)
set_target_properties(vornsim PROPERTIES
  LINKER_LANGUAGE CXX
  NO_SONAME ON
  LIBRARY_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR})
target_link_libraries(vornsim PRIVATE vorn_model)
install(TARGETS vornsim LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}/vornlcapi COMPONENT reference-host)
install(FILES ${CMAKE_CURRENT_LIST_DIR}/include/vornsim.h DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/vornlcapi
        COMPONENT reference-host)
