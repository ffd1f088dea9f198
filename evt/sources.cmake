target_sources(tarnlex_core PRIVATE
  evt/account.cpp
  evt/carve.cpp
  evt/copies.cpp
  evt/event_identity.cpp
  evt/evt_log.cpp
  evt/file_header.cpp
  evt/plan.cpp
  evt/record.cpp
  evt/recover.cpp
  evt/ring.cpp
  evt/sound_record.cpp
  evt/structure.cpp
  evt/survey.cpp
  evt/walk.cpp
)
