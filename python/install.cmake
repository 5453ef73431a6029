# Installation of the Python package (component `python`, Debian package
# python3-vornlcapi): the hand-written modules of python/vornlcapi/, the
# binding generated into the build tree (_cdef.py, _entry_points.py), a
# _paths.py naming the installed libraries, and the distribution's metadata
# with the pytest11 entry point, so that an installed pytest loads the plugin
# on its own.  Nothing is byte-compiled here: Debian's python3 compiles the
# package's modules when it is installed (cmake/debian/python3-vornlcapi/postinst).
# Included from python/python.cmake, which stages the package in
# ${CMAKE_BINARY_DIR}/python/vornlcapi/.

# Where /usr/bin/python3 finds a package under the install prefix: Debian's
# shared directory for the system prefix, the versioned one elsewhere
# (/usr/local/lib/python3.11/dist-packages).
if(CMAKE_INSTALL_PREFIX STREQUAL "/usr")
  set(_vorn_python_dir lib/python3/dist-packages)
else()
  execute_process(COMMAND /usr/bin/python3 -c
                    "import sys; print('lib/python%d.%d/dist-packages' % sys.version_info[:2])"
                  OUTPUT_VARIABLE _vorn_python_dir OUTPUT_STRIP_TRAILING_WHITESPACE
                  RESULT_VARIABLE _vorn_python_status)
  if(NOT _vorn_python_status EQUAL 0)
    message(FATAL_ERROR "/usr/bin/python3 did not say its version (${_vorn_python_status}): "
                        "give -DVORN_PYTHON_INSTALL_DIR=<directory under the prefix>")
  endif()
endif()
set(VORN_PYTHON_INSTALL_DIR ${_vorn_python_dir} CACHE STRING
    "Where the Python package vornlcapi is installed, under the prefix unless absolute")

set(_vorn_python_staged ${CMAKE_BINARY_DIR}/python/vornlcapi)
set(_vorn_python_package ${VORN_PYTHON_INSTALL_DIR}/vornlcapi)
set(_vorn_dist_info vornlcapi-${PROJECT_VERSION}.dist-info)

install(DIRECTORY ${CMAKE_CURRENT_LIST_DIR}/vornlcapi/ DESTINATION ${_vorn_python_package}
        COMPONENT python FILES_MATCHING PATTERN "*.py"
        PATTERN "_paths.py" EXCLUDE PATTERN "__pycache__" EXCLUDE)
install(FILES ${_vorn_python_staged}/_cdef.py ${_vorn_python_staged}/_entry_points.py
        DESTINATION ${_vorn_python_package} COMPONENT python)

# The libraries the installed package loads, as they lie on the machine it is
# installed on: written when installing, so that `cmake --install --prefix`
# names the prefix given there (DESTDIR is where the files go, not where they
# are found).
if(TARGET vornsim)
  set(_vorn_libvornsim $<TARGET_FILE_NAME:vornsim>)
else()
  set(_vorn_libvornsim libvornsim.so)
endif()
install(CODE "
  set(_package \"${_vorn_python_package}\")
  if(NOT IS_ABSOLUTE \"\${_package}\")
    set(_package \"\${CMAKE_INSTALL_PREFIX}/\${_package}\")
  endif()
  set(_library \"\${CMAKE_INSTALL_PREFIX}/${CMAKE_INSTALL_LIBDIR}/$<TARGET_SONAME_FILE_NAME:vornlcapi>\")
  set(_libvornsim \"\${CMAKE_INSTALL_PREFIX}/${CMAKE_INSTALL_LIBDIR}/vornlcapi/${_vorn_libvornsim}\")
  message(STATUS \"Installing: \$ENV{DESTDIR}\${_package}/_paths.py\")
  file(WRITE \"\$ENV{DESTDIR}\${_package}/_paths.py\"
\"# The libraries of the installed package (written by cmake --install).
LIBVORNSIM = \\\"\${_libvornsim}\\\"
LIBRARY = \\\"\${_library}\\\"
\")
" COMPONENT python)

# The distribution's metadata: importlib.metadata (and so pytest, through
# the pytest11 group) finds the package and its plugin by it.  The entry
# point is named after the plugin's module, so that `-p vornlcapi.pytest_plugin`
# (the build tree's suite, with an installed package on the machine) names
# the same plugin instead of registering it twice, which pytest refuses.
file(WRITE ${CMAKE_BINARY_DIR}/${_vorn_dist_info}/METADATA
"Metadata-Version: 2.1
Name: vornlcapi
Version: ${PROJECT_VERSION}
Summary: Python tests of control planes over libvornlcapi and its virtual line card
Requires-Dist: cffi
Provides-Extra: testing
Requires-Dist: pytest; extra == \"testing\"
Requires-Dist: scapy; extra == \"testing\"
")
file(WRITE ${CMAKE_BINARY_DIR}/${_vorn_dist_info}/entry_points.txt
"[pytest11]
vornlcapi.pytest_plugin = vornlcapi.pytest_plugin
")
install(FILES ${CMAKE_BINARY_DIR}/${_vorn_dist_info}/METADATA ${CMAKE_BINARY_DIR}/${_vorn_dist_info}/entry_points.txt
        DESTINATION ${VORN_PYTHON_INSTALL_DIR}/${_vorn_dist_info} COMPONENT python)
set(VORN_PYTHON_PACKAGE ON)

# The install as a user has it, on every native test run (scripts/check-packages
# does the same with the Debian package in a clean root).
if(VORN_BUILD_TESTS AND NOT CMAKE_CROSSCOMPILING AND NOT VORN_SANITIZE
   AND NOT IS_ABSOLUTE "${VORN_PYTHON_INSTALL_DIR}")
  add_test(NAME vornlcapi_python_install
           COMMAND sh ${CMAKE_CURRENT_LIST_DIR}/check_install.sh ${CMAKE_BINARY_DIR}
                   ${CMAKE_BINARY_DIR}/python-install-test ${VORN_PYTHON_INSTALL_DIR}
                   ${CMAKE_CURRENT_LIST_DIR}/tests)
  set_tests_properties(vornlcapi_python_install PROPERTIES ENVIRONMENT "CMAKE=${CMAKE_COMMAND}")
endif()
