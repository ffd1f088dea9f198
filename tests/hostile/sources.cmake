target_sources(tarnlex_support PRIVATE
  ${CMAKE_CURRENT_SOURCE_DIR}/support/child_run.cpp
)
target_sources(tarnlex_support PRIVATE
  ${CMAKE_CURRENT_SOURCE_DIR}/hostile/crafted_chunks.cpp
)
target_sources(tarnlex_tests PRIVATE
  ${CMAKE_CURRENT_SOURCE_DIR}/hostile/crafted_chunks_test.cpp
  ${CMAKE_CURRENT_SOURCE_DIR}/hostile/crafted_evt_test.cpp
  ${CMAKE_CURRENT_SOURCE_DIR}/hostile/crafted_text_test.cpp
  ${CMAKE_CURRENT_SOURCE_DIR}/hostile/evidence_test.cpp
  ${CMAKE_CURRENT_SOURCE_DIR}/hostile/failed_write_test.cpp
  ${CMAKE_CURRENT_SOURCE_DIR}/hostile/mutation_test.cpp
  ${CMAKE_CURRENT_SOURCE_DIR}/hostile/terminal_test.cpp
)
target_link_libraries(tarnlex_tests PRIVATE tarnlex_whole_log)

add_executable(measure_crafted ${CMAKE_CURRENT_SOURCE_DIR}/hostile/measure_crafted.cpp)
target_link_libraries(measure_crafted PRIVATE tarnlex_support)
