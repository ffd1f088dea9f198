target_sources(tarnlex_core PRIVATE
  app/event_ids.cpp
  app/folder_scan.cpp
  app/input_discovery.cpp
  app/loss_remark.cpp
  app/open_log.cpp
  app/option_table.cpp
  app/output_options.cpp
  app/parse_options.cpp
  app/pipe_mode.cpp
  app/prepare_run.cpp
  app/remarks.cpp
  app/run.cpp
  app/run_header.cpp
  app/screen.cpp
  app/status_display.cpp
  app/usage.cpp
)
