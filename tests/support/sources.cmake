target_sources(tarnlex_support PRIVATE
  ${CMAKE_CURRENT_SOURCE_DIR}/support/binary_xml_builder.cpp
  ${CMAKE_CURRENT_SOURCE_DIR}/support/breakers.cpp
  ${CMAKE_CURRENT_SOURCE_DIR}/support/event_builder.cpp
  ${CMAKE_CURRENT_SOURCE_DIR}/support/evt_builder.cpp
  ${CMAKE_CURRENT_SOURCE_DIR}/support/evtx_builder.cpp
  ${CMAKE_CURRENT_SOURCE_DIR}/support/log_of_chunks.cpp
  ${CMAKE_CURRENT_SOURCE_DIR}/support/other_reader.cpp
  ${CMAKE_CURRENT_SOURCE_DIR}/support/put_bytes.cpp
  ${CMAKE_CURRENT_SOURCE_DIR}/support/value_builder.cpp
)
target_sources(tarnlex_tests PRIVATE
  ${CMAKE_CURRENT_SOURCE_DIR}/support/evt_builder_test.cpp
  ${CMAKE_CURRENT_SOURCE_DIR}/support/evtx_builder_test.cpp
  ${CMAKE_CURRENT_SOURCE_DIR}/support/make_mixed_log_test.cpp
  ${CMAKE_CURRENT_SOURCE_DIR}/support/other_reader_test.cpp
)

foreach(tool make_sample_log make_large_log make_mixed_log)
  add_executable(${tool} ${CMAKE_CURRENT_SOURCE_DIR}/support/${tool}.cpp)
  target_link_libraries(${tool} PRIVATE tarnlex_support)
endforeach()
target_compile_definitions(tarnlex_tests PRIVATE
  TARNLEX_MAKE_MIXED_LOG="$<TARGET_FILE:make_mixed_log>")
add_dependencies(tarnlex_tests make_mixed_log)
