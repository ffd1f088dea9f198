target_sources(tarnlex_tests PRIVATE
  ${CMAKE_CURRENT_SOURCE_DIR}/app/event_ids_test.cpp
  ${CMAKE_CURRENT_SOURCE_DIR}/app/folder_scan_test.cpp
  ${CMAKE_CURRENT_SOURCE_DIR}/app/input_discovery_test.cpp
  ${CMAKE_CURRENT_SOURCE_DIR}/app/loss_remark_test.cpp
  ${CMAKE_CURRENT_SOURCE_DIR}/app/open_log_test.cpp
  ${CMAKE_CURRENT_SOURCE_DIR}/app/output_options_test.cpp
  ${CMAKE_CURRENT_SOURCE_DIR}/app/parse_options_test.cpp
  ${CMAKE_CURRENT_SOURCE_DIR}/app/pipe_mode_test.cpp
  ${CMAKE_CURRENT_SOURCE_DIR}/app/prepare_run_test.cpp
  ${CMAKE_CURRENT_SOURCE_DIR}/app/remarks_test.cpp
  ${CMAKE_CURRENT_SOURCE_DIR}/app/run_header_test.cpp
  ${CMAKE_CURRENT_SOURCE_DIR}/app/run_test.cpp
  ${CMAKE_CURRENT_SOURCE_DIR}/app/status_display_test.cpp
)
