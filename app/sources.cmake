target_sources(tarnlex_core PRIVATE
  app/input_discovery.cpp
  app/option_search.cpp
  app/parse_options.cpp
  app/shared_options.cpp
)
