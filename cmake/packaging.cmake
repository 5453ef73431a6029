# Debian packages, one per install component, built with `cpack -G DEB` from a
# build configured with -DCMAKE_INSTALL_PREFIX=/usr (scripts/package):
#   libvornlcapi0              runtime: the library and its SONAME link
#   libvornlcapi-dev           development: headers, libvornlcapi.so, .pc, CMake package
#   vornlcapi-reference-host   reference-host: vornsh, the reference host library
#                              and the stand-in event loop with their headers
#   python3-vornlcapi          python: the Python package over the library and
#                              the reference host, with its pytest plugin
# A cross build packages for its target's architecture; dpkg-shlibdeps only
# knows the build machine's libraries, so a cross build names its run-time
# dependencies itself.

set(VORN_DEB_MAINTAINER "vornlcapi developers <vornlcapi@vorn.example.org>")
set(VORN_DEB_RUNTIME libvornlcapi0)
set(VORN_DEB_DEVELOPMENT libvornlcapi-dev)
set(VORN_DEB_REFERENCE_HOST vornlcapi-reference-host)
set(VORN_DEB_PYTHON python3-vornlcapi)

# Every package carries the copyright file and the changelog that Debian's
# policy asks for, in /usr/share/doc/<package>.
execute_process(COMMAND gzip -9 -n -c ${CMAKE_CURRENT_LIST_DIR}/debian/changelog
                OUTPUT_FILE ${CMAKE_BINARY_DIR}/changelog.gz)
set(_vorn_deb_components runtime development)
if(VORN_XORP_STANDIN)
  list(APPEND _vorn_deb_components reference-host)
endif()
if(VORN_PYTHON_PACKAGE)  # python/install.cmake was included
  list(APPEND _vorn_deb_components python)
endif()
foreach(component IN LISTS _vorn_deb_components)
  string(TOUPPER ${component} COMPONENT)
  string(REPLACE "-" "_" var ${COMPONENT})
  install(FILES ${CMAKE_CURRENT_LIST_DIR}/debian/copyright ${CMAKE_BINARY_DIR}/changelog.gz
          DESTINATION ${CMAKE_INSTALL_DATAROOTDIR}/doc/${VORN_DEB_${var}} COMPONENT ${component})
  set(CPACK_DEBIAN_${COMPONENT}_PACKAGE_NAME ${VORN_DEB_${var}})
endforeach()

if(VORN_XORP_STANDIN)
  execute_process(COMMAND gzip -9 -n -c ${PROJECT_SOURCE_DIR}/sim/shell/vornsh.1
                  OUTPUT_FILE ${CMAKE_BINARY_DIR}/vornsh.1.gz)
  install(FILES ${CMAKE_BINARY_DIR}/vornsh.1.gz DESTINATION ${CMAKE_INSTALL_MANDIR}/man1
          COMPONENT reference-host)
  # A stripping install (cpack, cmake --install --strip) also drops the debug
  # information of the static libraries.
  install(CODE "if(CMAKE_INSTALL_DO_STRIP)
    foreach(archive libvorn_sim.a libvorn_model.a libvorn_xorp_standin.a)
      execute_process(COMMAND \"${CMAKE_STRIP}\" --strip-debug
                      \"\$ENV{DESTDIR}\${CMAKE_INSTALL_PREFIX}/${CMAKE_INSTALL_LIBDIR}/\${archive}\")
    endforeach()
  endif()" COMPONENT reference-host)
endif()

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME vornlcapi)
set(CPACK_PACKAGE_VENDOR "vornlcapi developers")
set(CPACK_PACKAGE_CONTACT ${VORN_DEB_MAINTAINER})
set(CPACK_PACKAGE_VERSION ${PROJECT_VERSION})
set(CPACK_STRIP_FILES ON)
set(CPACK_COMPONENTS_ALL ${_vorn_deb_components})
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_MAINTAINER ${VORN_DEB_MAINTAINER})
set(CPACK_DEBIAN_PACKAGE_PRIORITY optional)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS
    OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)
set(CPACK_DEBIAN_ENABLE_COMPONENT_DEPENDS ON)
set(CPACK_COMPONENT_DEVELOPMENT_DEPENDS runtime)
set(CPACK_COMPONENT_REFERENCE-HOST_DEPENDS runtime development)
set(CPACK_COMPONENT_PYTHON_DEPENDS runtime reference-host)

set(CPACK_DEBIAN_RUNTIME_PACKAGE_SECTION libs)
# Only the runtime package holds a shared library: its shlibs file, and the
# ldconfig trigger (CPack adds ldconfig calls to postinst and postrm too).
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS ON)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS_POLICY ">=")
set(CPACK_DEBIAN_RUNTIME_PACKAGE_CONTROL_EXTRA ${CMAKE_CURRENT_LIST_DIR}/debian/triggers)
set(CPACK_DEBIAN_RUNTIME_DESCRIPTION "line card manager client library
libvornlcapi is the library through which control-plane processes on a
network switch (STP, LACP, LLDP, routing, SNMP agents) program the switching
hardware through the line card manager's SDK object: ports, VLANs, LAGs, the
MAC table, L3 tables, flows, filters, statistics, CPU packets and events.
The SDK object, the port mapping and the LAG list are supplied by the host
process.")
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SECTION libdevel)
set(CPACK_DEBIAN_DEVELOPMENT_DESCRIPTION "line card manager client library (development files)
Headers of the C++ and C entry points, the platform headers that a line-card
vendor implements (the SDK class, the port mapping, the LAG list), the
pkg-config file vornlcapi.pc and the CMake package VornLcApi.")
set(CPACK_DEBIAN_REFERENCE-HOST_PACKAGE_SECTION devel)
set(CPACK_DEBIAN_REFERENCE-HOST_DESCRIPTION "virtual line card and shell for libvornlcapi
A reference host for libvornlcapi: a virtual line card with a software switch
model that supplies the SDK object, port mapping and LAG list, so that the
library and any control plane written against it run on an ordinary Linux
machine.  Includes vornsh, a shell that calls every entry point, and the
static libraries, headers and vorn-sim.pc to link the virtual line card into
a host program.")
set(CPACK_DEBIAN_PYTHON_PACKAGE_SECTION python)
# The package loads both libraries by path (no ELF file of its own for
# dpkg-shlibdeps to read); its modules are compiled by postinst, not shipped.
set(CPACK_DEBIAN_PYTHON_PACKAGE_DEPENDS "python3, python3-cffi")
set(CPACK_DEBIAN_PYTHON_PACKAGE_RECOMMENDS "python3-pytest, python3-scapy")
set(CPACK_DEBIAN_PYTHON_PACKAGE_CONTROL_EXTRA
    ${CMAKE_CURRENT_LIST_DIR}/debian/python3-vornlcapi/postinst
    ${CMAKE_CURRENT_LIST_DIR}/debian/python3-vornlcapi/prerm)
set(CPACK_DEBIAN_PYTHON_DESCRIPTION "Python tests of control planes over libvornlcapi
The Python package vornlcapi drives libvornlcapi and its virtual line card
from Python: every C entry point of the library as a call with Python
values, families for VLANs, ports, LAGs, the MAC table, L3, flows and
filters, frames injected into the card's ports and what came out of them,
and the card's events.  Its pytest plugin gives tests a fresh card and its
ports per test, with helpers that check which frames left which port.")

if(CMAKE_CROSSCOMPILING)
  if(CMAKE_SYSTEM_PROCESSOR STREQUAL "powerpc")
    set(CPACK_DEBIAN_PACKAGE_ARCHITECTURE powerpc)
  else()
    set(CPACK_DEBIAN_PACKAGE_ARCHITECTURE ${CMAKE_SYSTEM_PROCESSOR})
  endif()
  set(CPACK_DEBIAN_RUNTIME_PACKAGE_DEPENDS "libc6 (>= 2.34), libstdc++6 (>= 12)")
  set(CPACK_DEBIAN_REFERENCE-HOST_PACKAGE_DEPENDS "libc6 (>= 2.34), libstdc++6 (>= 12)")
else()
  set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
  # vornsh needs the library of the package built beside it.
  set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS ${CMAKE_BINARY_DIR})
endif()
include(CPack)
