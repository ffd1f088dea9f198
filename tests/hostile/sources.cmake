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

# For a test that loads it in front of the system's library.
add_library(failing_close MODULE ${CMAKE_CURRENT_SOURCE_DIR}/hostile/failing_close.cpp)
target_link_libraries(failing_close PRIVATE ${CMAKE_DL_LIBS})
target_compile_options(failing_close PRIVATE -fPIC)  # a library, where all else is a program
add_dependencies(tarnlex_tests failing_close)
target_compile_definitions(tarnlex_tests PRIVATE
  TARNLEX_FAILING_CLOSE="$<TARGET_FILE:failing_close>")
