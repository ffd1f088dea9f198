target_sources(tarnlex_core PRIVATE
  logs/parse_number.cpp
  logs/paths.cpp
  logs/text.cpp
  logs/text_sink.cpp
)
