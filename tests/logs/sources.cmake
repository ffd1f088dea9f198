target_sources(tarnlex_tests PRIVATE
  ${CMAKE_CURRENT_SOURCE_DIR}/logs/crc32_test.cpp
  ${CMAKE_CURRENT_SOURCE_DIR}/logs/date_time_test.cpp
  ${CMAKE_CURRENT_SOURCE_DIR}/logs/iso_time_test.cpp
  ${CMAKE_CURRENT_SOURCE_DIR}/logs/known_options_test.cpp
  ${CMAKE_CURRENT_SOURCE_DIR}/logs/option_search_test.cpp
  ${CMAKE_CURRENT_SOURCE_DIR}/logs/parse_number_test.cpp
  ${CMAKE_CURRENT_SOURCE_DIR}/logs/paths_test.cpp
  ${CMAKE_CURRENT_SOURCE_DIR}/logs/plain_ascii_test.cpp
  ${CMAKE_CURRENT_SOURCE_DIR}/logs/platform_test.cpp
  ${CMAKE_CURRENT_SOURCE_DIR}/logs/record_survey_test.cpp
  ${CMAKE_CURRENT_SOURCE_DIR}/logs/sid_test.cpp
  ${CMAKE_CURRENT_SOURCE_DIR}/logs/status_line_test.cpp
  ${CMAKE_CURRENT_SOURCE_DIR}/logs/text_test.cpp
  ${CMAKE_CURRENT_SOURCE_DIR}/logs/time_bounds_test.cpp
  ${CMAKE_CURRENT_SOURCE_DIR}/logs/unit_search_test.cpp
  ${CMAKE_CURRENT_SOURCE_DIR}/logs/windows_1252_test.cpp
)
