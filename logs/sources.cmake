target_sources(tarnlex_core PRIVATE
  logs/date_time.cpp
  logs/date_time_parse.cpp
  logs/date_time_text.cpp
  logs/iso_time.cpp
  logs/log_content.cpp
  logs/option_search.cpp
  logs/output_guard.cpp
  logs/parse_number.cpp
  logs/paths.cpp
  logs/plain_ascii.cpp
  logs/sid.cpp
  logs/status_line.cpp
  logs/text.cpp
  logs/text_sink.cpp
  logs/utf8.cpp
  logs/windows_1252.cpp
)
