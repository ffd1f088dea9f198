target_sources(tarnlex_core PRIVATE
  output/cell_writer.cpp
  output/date_time.cpp
  output/date_time_parse.cpp
  output/date_time_text.cpp
  output/display_name.cpp
  output/event_rows.cpp
  output/table.cpp
  output/table_columns.cpp
)
