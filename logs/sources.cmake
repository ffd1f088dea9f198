target_sources(tarnlex_core PRIVATE
  logs/text.cpp
  logs/text_sink.cpp
)
