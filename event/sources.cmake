target_sources(tarnlex_core PRIVATE
  event/carving.cpp
  event/complete_value.cpp
  event/document.cpp
  event/extent.cpp
  event/flatten.cpp
  event/names.cpp
  event/plan.cpp
  event/references.cpp
  event/system_time.cpp
  event/value.cpp
)
