target_sources(tarnlex_tests PRIVATE
  ${CMAKE_CURRENT_SOURCE_DIR}/event/complete_test.cpp
  ${CMAKE_CURRENT_SOURCE_DIR}/event/complete_value_test.cpp
  ${CMAKE_CURRENT_SOURCE_DIR}/event/extent_test.cpp
  ${CMAKE_CURRENT_SOURCE_DIR}/event/flatten_test.cpp
  ${CMAKE_CURRENT_SOURCE_DIR}/event/names_test.cpp
  ${CMAKE_CURRENT_SOURCE_DIR}/event/plan_test.cpp
  ${CMAKE_CURRENT_SOURCE_DIR}/event/references_test.cpp
  ${CMAKE_CURRENT_SOURCE_DIR}/event/value_test.cpp
)
