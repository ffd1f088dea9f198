target_sources(tarnlex_tests PRIVATE
  ${CMAKE_CURRENT_SOURCE_DIR}/reports/builtin_reports_test.cpp
  ${CMAKE_CURRENT_SOURCE_DIR}/reports/command_file_test.cpp
  ${CMAKE_CURRENT_SOURCE_DIR}/reports/command_language_test.cpp
  ${CMAKE_CURRENT_SOURCE_DIR}/reports/evt_query_test.cpp
  ${CMAKE_CURRENT_SOURCE_DIR}/reports/filter_test.cpp
  ${CMAKE_CURRENT_SOURCE_DIR}/reports/query_index_test.cpp
)
