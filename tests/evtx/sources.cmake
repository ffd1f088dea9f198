target_sources(tarnlex_tests PRIVATE
  ${CMAKE_CURRENT_SOURCE_DIR}/evtx/account_test.cpp
  ${CMAKE_CURRENT_SOURCE_DIR}/evtx/binary_xml_test.cpp
  ${CMAKE_CURRENT_SOURCE_DIR}/evtx/bounds_test.cpp
  ${CMAKE_CURRENT_SOURCE_DIR}/evtx/compile_test.cpp
  ${CMAKE_CURRENT_SOURCE_DIR}/evtx/element_kind_test.cpp
  ${CMAKE_CURRENT_SOURCE_DIR}/evtx/find_record_test.cpp
  ${CMAKE_CURRENT_SOURCE_DIR}/evtx/complete_record_test.cpp
  ${CMAKE_CURRENT_SOURCE_DIR}/evtx/nested_scan_test.cpp
  ${CMAKE_CURRENT_SOURCE_DIR}/evtx/record_test.cpp
  ${CMAKE_CURRENT_SOURCE_DIR}/evtx/recover_property_test.cpp
  ${CMAKE_CURRENT_SOURCE_DIR}/evtx/recover_test.cpp
  ${CMAKE_CURRENT_SOURCE_DIR}/evtx/sound_value_test.cpp
  ${CMAKE_CURRENT_SOURCE_DIR}/evtx/substitution_test.cpp
  ${CMAKE_CURRENT_SOURCE_DIR}/evtx/template_test.cpp
  ${CMAKE_CURRENT_SOURCE_DIR}/evtx/trace_test.cpp
  ${CMAKE_CURRENT_SOURCE_DIR}/evtx/walk_test.cpp
)
