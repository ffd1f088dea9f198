target_sources(tarnlex_core PRIVATE
  reports/command_file.cpp
  reports/command_language.cpp
  reports/filter.cpp
  reports/query_index.cpp
)
