target_sources(tarnlex_tests PRIVATE
  ${CMAKE_CURRENT_SOURCE_DIR}/reports/carve_image_test.cpp
  ${CMAKE_CURRENT_SOURCE_DIR}/reports/carve_real_logs_test.cpp
  ${CMAKE_CURRENT_SOURCE_DIR}/reports/builtin_reports_test.cpp
  ${CMAKE_CURRENT_SOURCE_DIR}/reports/log_account_test.cpp
  ${CMAKE_CURRENT_SOURCE_DIR}/reports/command_file_test.cpp
  ${CMAKE_CURRENT_SOURCE_DIR}/reports/command_language_test.cpp
  ${CMAKE_CURRENT_SOURCE_DIR}/reports/command_remarks_test.cpp
  ${CMAKE_CURRENT_SOURCE_DIR}/reports/evt_query_test.cpp
  ${CMAKE_CURRENT_SOURCE_DIR}/reports/evtx_query_test.cpp
  ${CMAKE_CURRENT_SOURCE_DIR}/reports/event_marks_test.cpp
  ${CMAKE_CURRENT_SOURCE_DIR}/reports/filter_test.cpp
  ${CMAKE_CURRENT_SOURCE_DIR}/reports/plan_tests_test.cpp
  ${CMAKE_CURRENT_SOURCE_DIR}/reports/query_index_test.cpp
  ${CMAKE_CURRENT_SOURCE_DIR}/reports/run_account_test.cpp
  ${CMAKE_CURRENT_SOURCE_DIR}/reports/shared_cells_test.cpp
  ${CMAKE_CURRENT_SOURCE_DIR}/reports/text_search_test.cpp
  ${CMAKE_CURRENT_SOURCE_DIR}/reports/unique_test.cpp
  ${CMAKE_CURRENT_SOURCE_DIR}/reports/walk_log_test.cpp
)
set_source_files_properties(${CMAKE_CURRENT_SOURCE_DIR}/reports/command_file_test.cpp
  TARGET_DIRECTORY tarnlex_tests
  PROPERTIES COMPILE_DEFINITIONS "TARNLEX_DOCS=\"${CMAKE_SOURCE_DIR}/docs\"")
