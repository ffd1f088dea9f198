target_sources(tarnlex_tests PRIVATE
  ${CMAKE_CURRENT_SOURCE_DIR}/evt/carve_test.cpp
  ${CMAKE_CURRENT_SOURCE_DIR}/evt/copies_test.cpp
  ${CMAKE_CURRENT_SOURCE_DIR}/evt/evt_log_test.cpp
  ${CMAKE_CURRENT_SOURCE_DIR}/evt/plan_test.cpp
  ${CMAKE_CURRENT_SOURCE_DIR}/evt/record_test.cpp
  ${CMAKE_CURRENT_SOURCE_DIR}/evt/recover_property_test.cpp
  ${CMAKE_CURRENT_SOURCE_DIR}/evt/recover_test.cpp
  ${CMAKE_CURRENT_SOURCE_DIR}/evt/sound_record_test.cpp
  ${CMAKE_CURRENT_SOURCE_DIR}/evt/structure_test.cpp
  ${CMAKE_CURRENT_SOURCE_DIR}/evt/survey_test.cpp
  ${CMAKE_CURRENT_SOURCE_DIR}/evt/walk_test.cpp
)
