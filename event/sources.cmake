target_sources(tarnlex_core PRIVATE
  event/literal.cpp
  event/names.cpp
  event/plan.cpp
  event/value.cpp
)
