target_sources(tarnlex_core PRIVATE
  reports/builtin_reports.cpp
  reports/command_file.cpp
  reports/command_language.cpp
  reports/command_remarks.cpp
  reports/evt_query.cpp
  reports/evtx_query.cpp
  reports/filter.cpp
  reports/log_pass.cpp
  reports/plan_rows.cpp
  reports/plan_tests.cpp
  reports/process_logs.cpp
  reports/progress.cpp
  reports/query_index.cpp
  reports/record_stream.cpp
  reports/report_lines.cpp
  reports/walk_log.cpp
)
