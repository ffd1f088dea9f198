target_sources(tarnlex_core PRIVATE
  output/bodyfile.cpp
  output/cell_cleaner.cpp
  output/cell_writer.cpp
  output/display_name.cpp
  output/empty_cells.cpp
  output/event_rows.cpp
  output/json_layout.cpp
  output/json_text.cpp
  output/log2timeline.cpp
  output/record_json.cpp
  output/record_output.cpp
  output/statistics.cpp
  output/table.cpp
  output/table_columns.cpp
  output/utf8_output.cpp
  output/visible_text.cpp
)
