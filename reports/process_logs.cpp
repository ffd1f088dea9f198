#include "reports/process_logs.h"

#include <utility>

#include "reports/builtin_reports.h"
#include "reports/command_language.h"
#include "reports/log_pass.h"
#include "reports/report_lines.h"
#include "reports/walk_log.h"

namespace tarnlex {
namespace {

// One walk over one log with the queries made for it; `filters` when somebody asked for them.
bool RunQueries(const RunOptions& options, RunState& run, const LogInfo& log, QueryList queries,
                bool filters) {
  // Behind a record that could not be written nothing is worth reading.
  if (queries.empty() || HasFailed(run.records)) return false;
  if (options.stats_on) BeginWalk(run.statistics, log, queries.size(), filters);
  LogPass pass{options, run, log, queries};
  WalkLog(pass);
  return pass.wrote;
}

bool RunLines(const RunOptions& options, RunState& run, const LogInfo& log,
              const std::vector<TokenList>& lines) {
  QueryList queries;
  BuildQueries(lines, log, options, false, queries);
  return RunQueries(options, run, log, std::move(queries), true);
}

bool RunReport(const RunOptions& options, RunState& run, const BuiltinReport& report) {
  bool wrote = false;
  for (const auto& [path, log] : run.logs) {
    if (!ReportFits(report, log, options.complete)) continue;
    run.current_log = &log;
    wrote |= RunLines(options, run, log, ReportLines(report, FormatOf(log)));
  }
  return wrote;
}

bool RunCommandFile(const RunOptions& options, RunState& run) {
  bool wrote = false;
  for (const auto& [path, log] : run.logs) {
    run.current_log = &log;
    wrote |= RunLines(options, run, log, run.command_lines);
  }
  return wrote;
}

bool DumpAll(const RunOptions& options, RunState& run) {
  bool wrote = false;
  for (const auto& [path, log] : run.logs) {
    run.current_log = &log;
    wrote |= RunQueries(options, run, log, PlainQueries(log, options), !options.hist_ids.empty());
  }
  return wrote;
}

}  // namespace

bool ProcessLogs(const RunOptions& options, RunState& run) {
  run.current_log = nullptr;
  ExpectLogs(run.records, run.logs, options);
  bool wrote = false;
  for (const BuiltinReport& report : BuiltinReports()) {
    if (options.*report.selected) wrote |= RunReport(options, run, report);
  }
  if (options.have_cmd_file) wrote |= RunCommandFile(options, run);
  if (options.dump_all) wrote |= DumpAll(options, run);
  return wrote;
}

}  // namespace tarnlex
