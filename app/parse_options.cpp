#include "app/parse_options.h"

#include <set>
#include <string>
#include <utility>
#include <vector>

#include "logs/date_time.h"
#include "logs/parse_number.h"
#include "logs/paths.h"
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

// Variables are expanded; a path that is listed twice is one log.
std::vector<std::string> ReadLogList(const std::string& list) {
  std::vector<std::string> pieces;
  SplitList(list, '|', true, pieces);
  std::vector<std::string> paths;
  std::set<std::string> known;
  for (const std::string& piece : pieces) {
    std::string path = ExpandPathVariables(piece);
    if (known.insert(path).second) paths.push_back(std::move(path));
  }
  return paths;
}

void ParseInputs(RunOptions& options, Arguments& args) {
  std::string value;
  options.logs_listed = FindValue("-log", args, value);
  if (options.logs_listed) options.log_paths = ReadLogList(value);
  options.live_system = FindFlag("-livesys", args);
  if (options.live_system) return;
  if (FindValue("-partition", args, value)) {
    options.partition = value;
  } else if (FindValue("-vss", args, value)) {
    options.shadow_copy = value;
  }
}

}  // namespace

CommandLine ReadCommandLine(Arguments args) {
  CommandLine line;
  line.complete = ParseOptions(line.options, args, line.complaints);
  return line;
}

bool ParseOptions(RunOptions& options, Arguments& args, std::string& complaints) {
  if (!ParseOutputOptions(options, args, complaints)) return false;
  ParseFilters(options, args);
  ParseReports(options, args);
  ParseInputs(options, args);
  return true;
}

}  // namespace tarnlex
