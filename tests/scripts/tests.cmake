# A test that the comparison with other readers finds what is wrong, over built logs and with the one reader
# that is a package of the system. scripts/compare_readers.sh runs it over real logs and with all.
find_program(TARNLEX_EVTXEXPORT evtxexport)

if(TARNLEX_PYTHON AND TARNLEX_EVTXEXPORT)
  set(logs ${CMAKE_CURRENT_BINARY_DIR}/compared)
  add_test(NAME logs_to_compare COMMAND make_sample_log ${logs})
  add_test(NAME comparison_of_readers COMMAND ${TARNLEX_PYTHON}
    ${CMAKE_CURRENT_SOURCE_DIR}/scripts/compare_readers_test.py --reader evtxexport
    $<TARGET_FILE:tarnlex> ${logs}/Security.evtx ${logs}/System.evtx)
  add_test(NAME recovered_counts COMMAND ${TARNLEX_PYTHON}
    ${CMAKE_CURRENT_SOURCE_DIR}/scripts/count_recovered_test.py $<TARGET_FILE:tarnlex> ${logs}/Cleared.evtx)
  set_tests_properties(logs_to_compare PROPERTIES FIXTURES_SETUP logs_to_compare)
  set_tests_properties(comparison_of_readers recovered_counts PROPERTIES FIXTURES_REQUIRED logs_to_compare)
endif()
