target_sources(tarnlex_support PRIVATE
  ${CMAKE_CURRENT_SOURCE_DIR}/support/evtx_builder.cpp
)
