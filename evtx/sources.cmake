target_sources(tarnlex_core PRIVATE
  evtx/account.cpp
  evtx/binary_xml.cpp
  evtx/chunk.cpp
  evtx/decoded_event.cpp
  evtx/expand.cpp
  evtx/first_record.cpp
  evtx/names.cpp
  evtx/nested_scan.cpp
  evtx/record.cpp
  evtx/substitution.cpp
  evtx/template.cpp
  evtx/template_cache.cpp
  evtx/trace.cpp
  evtx/value.cpp
  evtx/value_plan.cpp
  evtx/walk.cpp
)
