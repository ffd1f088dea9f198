target_sources(tarnlex_core PRIVATE
  evtx/account.cpp
  evtx/binary_xml.cpp
  evtx/chunk.cpp
  evtx/compile.cpp
  evtx/find_record.cpp
  evtx/first_record.cpp
  evtx/fragment.cpp
  evtx/nested_scan.cpp
  evtx/plan_of.cpp
  evtx/record.cpp
  evtx/record_check.cpp
  evtx/resolve.cpp
  evtx/substitution.cpp
  evtx/template_store.cpp
  evtx/trace.cpp
  evtx/walk.cpp
)
