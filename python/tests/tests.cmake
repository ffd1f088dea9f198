# The fast tests of the package for Python, in an environment that has the packages of PyPI that they take.
if(TARNLEX_PYTHON AND NOT TARNLEX_PYTHON_TESTS STREQUAL "OFF" AND NOT TARNLEX_SANITIZE)
  add_test(NAME python_package COMMAND ${CMAKE_SOURCE_DIR}/python/tests/run.sh
    test ${CMAKE_SOURCE_DIR}/build/python_tools ${TARNLEX_PYTHON})
  set_tests_properties(python_package PROPERTIES TIMEOUT 900 ENVIRONMENT
    "TARNLEX_PROGRAM=$<TARGET_FILE:tarnlex>;TARNLEX_SAMPLES=$<TARGET_FILE:make_sample_log>")
  if(NOT TARNLEX_PYTHON_TESTS STREQUAL "REQUIRED")
    set_tests_properties(python_package PROPERTIES SKIP_RETURN_CODE 77)
  endif()
endif()
