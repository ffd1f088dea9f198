#include "app/parse_options.h"

#include <algorithm>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "app/event_ids.h"
#include "app/remarks.h"
#include "app/report_answers.h"
#include "logs/parse_number.h"
#include "logs/paths.h"
#include "logs/text.h"
#include "logs/time_bounds.h"
#include "reports/report_library.h"

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

void ParseTimeBounds(RunOptions& options, Arguments& args, std::uint64_t now) {
  std::string start;
  std::string stop;
  FindValue("-start_time", args, start);
  FindValue("-stop_time", args, stop);
  const TimeBounds bounds = ReadTimeBounds(start, stop, now);
  options.start_time = bounds.start;
  options.stop_time = bounds.stop;
}

void ParseFilters(RunOptions& options, Arguments& args, std::uint64_t now) {
  std::string value;
  if (options.bodyfile_form && FindFlag("-allparams", args)) options.all_params = true;
  options.event_ids = {kAnyEventId};
  if (FindValue("-eventid", args, value)) {
    EventIdList list = ReadEventIds(value);
    options.event_ids = std::move(list.ids);
    options.event_ranges = std::move(list.ranges);
  }
  ParseTimeBounds(options, args, now);
  FindValue("-string", args, options.substring);
}

// One report by its name, or by that of its option without the dash.
bool SelectReport(RunOptions& options, const std::string& name) {
  for (const ReportOption& report : kReports) {
    if (EqualsNoCase(report.name, "-" + name)) return options.*report.report = true;
  }
  const LibraryReport* const report = FindLibraryReport(name);
  if (!report) return false;
  std::vector<std::string>& selected = options.library_reports;
  if (std::find(selected.begin(), selected.end(), report->name) == selected.end()) {
    selected.emplace_back(report->name);
  }
  return true;
}

bool ParseReportNames(RunOptions& options, Arguments& args, std::string& complaints) {
  std::string value;
  if (!FindValue("-report", args, value)) return true;
  std::vector<std::string> names;
  SplitList(value, '|', true, names);
  if (names.empty()) names.push_back(value);
  for (const std::string& name : names) {
    if (SelectReport(options, name)) continue;
    complaints += NoSuchReport(name);
    return false;
  }
  options.dump_all = false;
  return true;
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

// "K/N": part K of N, each of them decimal digits.
bool ReadPart(std::string_view text, RunOptions& options) {
  constexpr std::uint64_t kMostParts = 65'536;
  const std::size_t slash = text.find('/');
  if (slash == std::string_view::npos) return false;
  const std::string_view part = text.substr(0, slash);
  const std::string_view parts = text.substr(slash + 1);
  if (!IsDecimal(part) || !IsDecimal(parts)) return false;
  options.part = LeadingNumber(part);
  options.parts = LeadingNumber(parts);
  return options.part >= 1 && options.part <= options.parts && options.parts <= kMostParts;
}

bool ParsePart(RunOptions& options, Arguments& args, std::string& complaints) {
  std::string value;
  const bool whole = !FindValue("-part", args, value) || ReadPart(value, options);
  // An image has no slots to cut it between.
  if (IsCarving(options)) options.part = options.parts = 1;
  if (whole) return true;
  complaints += "no part of a log: " + value + ", aborting\n";
  return false;
}

void ParseInputs(RunOptions& options, Arguments& args) {
  std::string value;
  options.logs_listed = FindValue("-log", args, value);
  if (options.logs_listed) options.log_paths = ReadPathList(value);
  if (FindValue("-dir", args, value)) options.folders = ReadPathList(value);
  options.live_system = FindFlag("-livesys", args);
  if (options.live_system) return;
  if (FindValue("-partition", args, value)) {
    options.partition = value;
  } else if (FindValue("-vss", args, value)) {
    options.shadow_copy = value;
  }
}

}  // namespace

std::vector<std::string> ReadPathList(const std::string& list) {
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

CommandLine ReadCommandLine(Arguments args, std::uint64_t now) {
  CommandLine line;
  line.remarks = RemarksOn(args, now);
  line.complete = ParseOptions(line.options, args, now, line.complaints);
  return line;
}

bool ParseOptions(RunOptions& options, Arguments& args, std::uint64_t now,
                  std::string& complaints) {
  if (FindFlag("-strict", args)) options.strict = true;
  if (!ParseOutputOptions(options, args, complaints)) return false;
  ParseFilters(options, args, now);
  ParseReports(options, args);
  if (!ParseReportNames(options, args, complaints)) return false;
  ParseInputs(options, args);
  return ParsePart(options, args, complaints);
}

}  // namespace tarnlex
