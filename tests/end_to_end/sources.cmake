target_sources(tarnlex_tests PRIVATE
  ${CMAKE_CURRENT_SOURCE_DIR}/end_to_end/carve_out_test.cpp
  ${CMAKE_CURRENT_SOURCE_DIR}/end_to_end/columns_test.cpp
  ${CMAKE_CURRENT_SOURCE_DIR}/end_to_end/golden_case.cpp
  ${CMAKE_CURRENT_SOURCE_DIR}/end_to_end/golden_test.cpp
  ${CMAKE_CURRENT_SOURCE_DIR}/end_to_end/interrupt_test.cpp
  ${CMAKE_CURRENT_SOURCE_DIR}/end_to_end/library_built_test.cpp
  ${CMAKE_CURRENT_SOURCE_DIR}/end_to_end/library_real_logs_test.cpp
  ${CMAKE_CURRENT_SOURCE_DIR}/end_to_end/losses_test.cpp
  ${CMAKE_CURRENT_SOURCE_DIR}/end_to_end/many_logs_test.cpp
  ${CMAKE_CURRENT_SOURCE_DIR}/end_to_end/mactime_test.cpp
  ${CMAKE_CURRENT_SOURCE_DIR}/end_to_end/parts_test.cpp
  ${CMAKE_CURRENT_SOURCE_DIR}/end_to_end/program_test.cpp
  ${CMAKE_CURRENT_SOURCE_DIR}/end_to_end/real_logs_test.cpp
  ${CMAKE_CURRENT_SOURCE_DIR}/end_to_end/sample_files.cpp
  ${CMAKE_CURRENT_SOURCE_DIR}/end_to_end/unique_test.cpp
  ${CMAKE_CURRENT_SOURCE_DIR}/end_to_end/watched_test.cpp
)
target_compile_definitions(tarnlex_tests PRIVATE
  TARNLEX_GOLDEN="${CMAKE_CURRENT_SOURCE_DIR}/golden"
  TARNLEX_DOCUMENTED_EVENTS="${CMAKE_CURRENT_SOURCE_DIR}/reports/documented_events.txt"
  TARNLEX_LIBRARY_TABLE="${CMAKE_CURRENT_SOURCE_DIR}/reports/library_on_real_logs.txt"
  TARNLEX_PROGRAM="$<TARGET_FILE:tarnlex>"
)
add_dependencies(tarnlex_tests tarnlex)
