#include "app/parse_options.h"

#include <algorithm>
#include <string>
#include <vector>

#include "app/input_discovery.h"
#include "logs/date_time.h"
#include "logs/messages.h"
#include "logs/output_guard.h"
#include "logs/parse_number.h"
#include "logs/text.h"

namespace tarnlex {
namespace {

struct ReportOption {
  const char* name;
  bool RunOptions::*report;
};

constexpr ReportOption kReports[] = {
    {"-pw", &RunOptions::report_pw},       {"-time", &RunOptions::report_time},
    {"-logon", &RunOptions::report_logon}, {"-startstop", &RunOptions::report_startstop},
    {"-creds", &RunOptions::report_creds}, {"-usb", &RunOptions::report_usb},
};

// The strongest separator in the list cuts it; blanks only when there is no other.
std::vector<std::uint64_t> ReadEventIds(const std::string& list) {
  const char separators[] = {',', '|', ' '};
  char chosen = ' ';
  for (const char separator : separators) {
    if (list.find(separator) == std::string::npos) continue;
    chosen = separator;
    break;
  }
  std::vector<std::string> pieces;
  SplitList(list, chosen, true, pieces);
  std::vector<std::uint64_t> ids;
  for (const std::string& piece : pieces) {
    std::uint64_t id = 0;
    if (ParseNumber(piece, id)) ids.push_back(id);
  }
  return ids;
}

void ParseTimeBound(const char* name, Arguments& args, std::uint64_t& bound) {
  std::string value;
  std::uint64_t filetime = 0;
  if (FindValue(name, args, value) && ParseTimeArgument(value, filetime)) bound = filetime;
}

void ParseFilters(RunOptions& options, Arguments& args) {
  std::string value;
  if (options.bodyfile_form && FindFlag("-allparams", args)) options.all_params = true;
  options.event_ids = {kAnyEventId};
  if (FindValue("-eventid", args, value)) options.event_ids = ReadEventIds(value);
  ParseTimeBound("-start_time", args, options.start_time);
  ParseTimeBound("-stop_time", args, options.stop_time);
  FindValue("-string", args, options.substring);
}

void ParseReports(RunOptions& options, Arguments& args) {
  options.dump_all = true;
  for (const ReportOption& report : kReports) {
    if (!FindFlag(report.name, args)) continue;
    options.*report.report = true;
    options.dump_all = false;
  }
  std::string value;
  options.stats_on = FindValue("-stats", args, options.stats_file);
  if (options.stats_on && FindValue("-hist", args, value)) {
    SplitList(value, '|', true, options.hist_ids);
    if (options.hist_ids.empty()) options.hist_ids = {value};
  }
  options.have_cmd_file = FindValue("-cmdfile", args, options.cmd_file);
  if (options.have_cmd_file) options.dump_all = false;
}

bool ParseInputs(RunOptions& options, Arguments& args) {
  std::string value;
  const bool listed = FindValue("-log", args, value);
  if (listed) AddLogList(options, value);
  if (FindFlag("-livesys", args)) return UseLiveSystem(options);
  if (FindValue("-partition", args, value)) return UsePartition(options, value);
  if (FindValue("-vss", args, value)) return UseShadowCopy(options, value);
  if (listed && options.pipe) Say(options, "ignoring -log, paths are piped in\n");
  return true;
}

bool ParseAll(RunOptions& options, Arguments& args) {
  options.hex_numbers = false;
  if (!ParseOutputOptions(options, args)) return false;
  ParseFilters(options, args);
  ParseReports(options, args);
  return ParseInputs(options, args);
}

// The paths that would be opened for writing once, before any log is read.
std::vector<std::string> OutputPaths(const RunOptions& options) {
  std::vector<std::string> paths;
  if (!options.diags_file.empty()) paths.push_back(options.diags_file);
  if (options.to_file) paths.push_back(options.out_file);
  if (options.stats_on) paths.push_back(options.stats_file);
  return paths;
}

// Which files are read and which are written is only known when all arguments have been looked at,
// while some are opened on the way. So the arguments are read twice, the first time for this.
bool WouldOverwriteInput(const RunOptions& options, Arguments args) {
  const auto writes = {"-diags", "-out", "-outfile", "-stats"};
  if (std::none_of(writes.begin(), writes.end(),
                   [&args](const char* name) { return HasFlag(name, args); })) {
    return false;
  }
  RunOptions trial = options;
  trial.trial = true;
  trial.messages = nullptr;
  ParseAll(trial, args);
  for (const std::string& path : OutputPaths(trial)) {
    if (!HoldsEventLog(path) && !IsSameFile(path, trial.logs, trial.cmd_file)) continue;
    Say(options, "prob opening file ", path, " for output, aborting\n");
    return true;
  }
  return false;
}

}  // namespace

bool ParseOptions(RunOptions& options, Arguments& args) {
  return !WouldOverwriteInput(options, args) && ParseAll(options, args);
}

}  // namespace tarnlex
