# Tests that the documents, the manual page and the shell completion say what the program does.
# Each needs tools of its own; TARNLEX_DOCS_TESTS=REQUIRED fails where one is missing, OFFLINE gets nothing
# from the network.
# The system's own first: it is the one for which modules are installed as packages.
find_program(TARNLEX_PYTHON python3 PATHS /usr/bin NO_DEFAULT_PATH)
find_program(TARNLEX_PYTHON python3)
find_program(TARNLEX_MANDOC mandoc)
find_program(TARNLEX_BASH bash)

foreach(tool TARNLEX_PYTHON TARNLEX_MANDOC TARNLEX_BASH)
  if(NOT ${tool} AND TARNLEX_DOCS_TESTS STREQUAL "REQUIRED")
    message(FATAL_ERROR "The tests of the documents need python3, mandoc and bash")
  endif()
endforeach()

if(TARNLEX_PYTHON AND TARNLEX_MANDOC)
  add_test(NAME manual_page COMMAND ${TARNLEX_PYTHON}
    ${CMAKE_CURRENT_SOURCE_DIR}/docs/check_manual.py ${CMAKE_SOURCE_DIR} $<TARGET_FILE:tarnlex>)
endif()
if(TARNLEX_PYTHON)
  add_test(NAME documented_options COMMAND ${TARNLEX_PYTHON}
    ${CMAKE_CURRENT_SOURCE_DIR}/docs/check_options.py ${CMAKE_SOURCE_DIR} $<TARGET_FILE:tarnlex>)
  add_test(NAME documented_reports COMMAND ${TARNLEX_PYTHON}
    ${CMAKE_CURRENT_SOURCE_DIR}/docs/check_reports.py ${CMAKE_SOURCE_DIR})
  add_test(NAME documented_report_library COMMAND ${TARNLEX_PYTHON}
    ${CMAKE_CURRENT_SOURCE_DIR}/docs/check_report_library.py ${CMAKE_SOURCE_DIR})
endif()
if(TARNLEX_PYTHON AND TARNLEX_BASH)
  # Python packages that Debian does not have, for all builds of a checkout.
  set(packages ${CMAKE_SOURCE_DIR}/build/analysis)
  add_test(NAME documented_commands COMMAND ${TARNLEX_PYTHON}
    ${CMAKE_CURRENT_SOURCE_DIR}/docs/run_documented_commands.py ${CMAKE_SOURCE_DIR}
    $<TARGET_FILE:tarnlex> $<TARGET_FILE:make_sample_log> --packages ${packages}
    $<$<STREQUAL:${TARNLEX_DOCS_TESTS},REQUIRED>:--required> COMMAND_EXPAND_LISTS)
  if(NOT TARNLEX_DOCS_TESTS STREQUAL "OFFLINE")
    add_test(NAME python_packages COMMAND
      ${CMAKE_CURRENT_SOURCE_DIR}/docs/get_packages.sh ${TARNLEX_PYTHON} ${packages})
    set_tests_properties(python_packages PROPERTIES FIXTURES_SETUP python_packages)
    set_tests_properties(documented_commands PROPERTIES FIXTURES_REQUIRED python_packages)
    if(NOT TARNLEX_DOCS_TESTS STREQUAL "REQUIRED")
      set_tests_properties(python_packages PROPERTIES SKIP_RETURN_CODE 77)
    endif()
  endif()
endif()
if(TARNLEX_BASH)
  add_test(NAME golden_loop COMMAND ${TARNLEX_BASH}
    ${CMAKE_CURRENT_SOURCE_DIR}/docs/golden_loop.sh $<TARGET_FILE:tarnlex_tests>)
  add_test(NAME bash_completion COMMAND ${TARNLEX_BASH}
    ${CMAKE_CURRENT_SOURCE_DIR}/docs/completion_test.sh
    ${CMAKE_SOURCE_DIR}/completions/tarnlex.bash)
endif()
