target_sources(tarnlex_tests PRIVATE
  ${CMAKE_CURRENT_SOURCE_DIR}/logs/text_test.cpp
)
