target_sources(tarnlex_tests PRIVATE
  ${CMAKE_CURRENT_SOURCE_DIR}/output/cards_test.cpp
  ${CMAKE_CURRENT_SOURCE_DIR}/output/cell_cleaner_test.cpp
  ${CMAKE_CURRENT_SOURCE_DIR}/output/display_name_test.cpp
  ${CMAKE_CURRENT_SOURCE_DIR}/output/event_json_test.cpp
  ${CMAKE_CURRENT_SOURCE_DIR}/output/event_rows_test.cpp
  ${CMAKE_CURRENT_SOURCE_DIR}/output/event_xml_test.cpp
  ${CMAKE_CURRENT_SOURCE_DIR}/output/level_test.cpp
  ${CMAKE_CURRENT_SOURCE_DIR}/output/picked_table_test.cpp
  ${CMAKE_CURRENT_SOURCE_DIR}/output/mirrored_folder_test.cpp
  ${CMAKE_CURRENT_SOURCE_DIR}/output/record_json_test.cpp
  ${CMAKE_CURRENT_SOURCE_DIR}/output/record_output_test.cpp
  ${CMAKE_CURRENT_SOURCE_DIR}/output/run_status_test.cpp
  ${CMAKE_CURRENT_SOURCE_DIR}/output/statistics_test.cpp
  ${CMAKE_CURRENT_SOURCE_DIR}/output/table_test.cpp
  ${CMAKE_CURRENT_SOURCE_DIR}/output/timeline_test.cpp
  ${CMAKE_CURRENT_SOURCE_DIR}/output/utf8_output_test.cpp
)
