target_sources(tarnlex_core PRIVATE
  output/date_time.cpp
  output/date_time_parse.cpp
  output/date_time_text.cpp
  output/event_rows.cpp
)
