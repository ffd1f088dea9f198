target_sources(tarnlex_core PRIVATE
  evt/account.cpp
  evt/evt_log.cpp
  evt/fields.cpp
  evt/record.cpp
  evt/walk.cpp
)
