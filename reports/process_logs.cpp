#include "reports/process_logs.h"

#include <utility>

#include "output/record_output.h"
#include "output/statistics.h"
#include "reports/builtin_reports.h"
#include "reports/command_language.h"
#include "reports/log_pass.h"
#include "reports/report_lines.h"
#include "reports/walk_log.h"

namespace tarnlex {
namespace {

// One walk over one log with the queries made for it; `filters` when somebody asked for them.
bool RunQueries(RunOptions& options, const LogInfo& log, QueryList queries, bool filters) {
  // Behind a record that could not be written nothing is worth reading.
  if (queries.empty() || HasFailed(options.record_output)) return false;
  if (options.statistics) BeginWalk(*options.statistics, log, queries.size(), filters);
  LogPass pass{options, log, queries, {}, {}, {}, {}, false};
  WalkLog(pass);
  return pass.wrote;
}

bool RunLines(RunOptions& options, const LogInfo& log, const std::vector<TokenList>& lines) {
  QueryList queries;
  BuildQueries(lines, options, false, queries);
  return RunQueries(options, log, std::move(queries), true);
}

bool RunReport(RunOptions& options, const BuiltinReport& report) {
  bool wrote = false;
  for (const auto& [path, log] : options.logs) {
    if (!ReportFits(report, log)) continue;
    options.current_log = log;
    wrote |= RunLines(options, log, ReportLines(report, FormatOf(log)));
  }
  return wrote;
}

bool RunCommandFile(RunOptions& options) {
  bool wrote = false;
  for (const auto& [path, log] : options.logs) {
    options.current_log = log;
    wrote |= RunLines(options, log, options.command_lines);
  }
  return wrote;
}

bool DumpAll(RunOptions& options) {
  bool wrote = false;
  for (const auto& [path, log] : options.logs) {
    options.current_log = log;
    wrote |= RunQueries(options, log, PlainQueries(options), !options.hist_ids.empty());
  }
  return wrote;
}

}  // namespace

bool ProcessLogs(RunOptions& options) {
  if (options.record_output) ExpectLogs(*options.record_output, options);
  bool wrote = false;
  for (const BuiltinReport& report : BuiltinReports()) {
    if (options.*report.selected) wrote |= RunReport(options, report);
  }
  if (options.have_cmd_file) wrote |= RunCommandFile(options);
  if (options.dump_all) wrote |= DumpAll(options);
  return wrote;
}

}  // namespace tarnlex
