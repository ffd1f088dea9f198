target_sources(tarnlex_core PRIVATE
  evt/fields.cpp
  evt/record.cpp
  evt/walk.cpp
)
