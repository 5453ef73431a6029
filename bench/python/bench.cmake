# The Python package's speed (bench_python.py; its budgets are checked when
# it is run by hand or by scripts/bench, never here).  The smoke test runs a
# few calls and frames through the build tree's staged package: that the
# measurements still run and every frame still arrives, not how fast.
if(TARGET vornlcapi_python)
  add_test(NAME vornlcapi_bench_python_smoke
           COMMAND ${VORN_PYTHON} ${CMAKE_CURRENT_LIST_DIR}/bench_python.py ${CMAKE_BINARY_DIR} --smoke)
  set_tests_properties(vornlcapi_bench_python_smoke PROPERTIES TIMEOUT 120)
endif()
