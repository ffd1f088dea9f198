# Tests that the documents, the manual page and the shell completion say what the program does.
# Each needs tools of its own; TARNLEX_DOCS_TESTS=REQUIRED fails where one is missing.
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
if(TARNLEX_BASH)
  add_test(NAME bash_completion COMMAND ${TARNLEX_BASH}
    ${CMAKE_CURRENT_SOURCE_DIR}/docs/completion_test.sh
    ${CMAKE_SOURCE_DIR}/completions/tarnlex.bash)
endif()
