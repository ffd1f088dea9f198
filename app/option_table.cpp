#include "app/option_table.h"

#include <algorithm>
#include <vector>

#include "app/usage.h"
#include "build_info.h"

namespace tarnlex {
namespace {

constexpr std::string_view kLogs = "Which logs";
constexpr std::string_view kRecords = "Which records: filters";
constexpr std::string_view kReports = "Which records: reports";
constexpr std::string_view kLooks = "How records look";
constexpr std::string_view kOutputs = "Where the output goes";
constexpr std::string_view kRun = "How the run goes";

// clang-format off
constexpr OptionEntry kTable[] = {
    {"-log", "\"PATH | PATH | ...\"", kLogs, "these logs", ""},
    {"-dir", "\"FOLDER | FOLDER | ...\"", kLogs, "every event log below these folders, whatever its name", "0.34"},
    {"-pipe", "", kLogs, "the logs whose paths come in, one a line", ""},
    {"-partition", "VOLUME", kLogs, "the logs of a Windows volume: where it is mounted, or its drive letter", ""},
    {"-livesys", "", kLogs, "the logs of the running system (Windows)", ""},
    {"-vss", "NUMBER", kLogs, "the logs of a volume shadow copy (Windows)", ""},
    {"-carve", "\"FILE | FILE | ...\"", kLogs, "logs and records that lie in these raw images: disks, free space, page files, memory", "0.34"},
    {"-part", "K/N", kLogs, "of each EVTX log only the K-th of N parts, cut between chunks", "0.34"},
    {"-eventid", "\"ID, ID-ID, ...\"", kRecords, "events of these identifiers", ""},
    {"-string", "TEXT", kRecords, "events one of whose values holds the text", ""},
    {"-start_time", "TIME", kRecords, "events of this time on: 2023-03-14T11:00:00Z, \"03/14/2023 11:00:00\", -2d", ""},
    {"-stop_time", "TIME", kRecords, "events up to this time", ""},
    {"-unique", "", kRecords, "each event once, however many logs hold it", "0.34"},
    {"-pw", "", kReports, "changes of passwords", ""},
    {"-time", "", kReports, "changes of the system time", ""},
    {"-logon", "", kReports, "logons and logoffs", ""},
    {"-startstop", "", kReports, "starts and stops of the system", ""},
    {"-creds", "", kReports, "changes of accounts and privileges", ""},
    {"-usb", "", kReports, "USB devices", ""},
    {"-report", "\"NAME | NAME | ...\"", kReports, "reports of the library; -report list names all, -report show NAME has the lines of one", "0.34"},
    {"-cmdfile", "FILE", kReports, "a report of your own", ""},
    {"-complete", "", kLooks, "every value of every event", "0.34"},
    {"-recover", "", kLooks, "-complete, and what was deleted: records that the log does not use any more", "0.34"},
    {"-csv", "", kLooks, "CSV, a table for each kind of event", ""},
    {"-csvgen", "", kLooks, "CSV, one table for each log", ""},
    {"-csvl2t", "", kLooks, "log2timeline CSV", ""},
    {"-bodyfile", "", kLooks, "lines for mactime", ""},
    {"-allparams", "", kLooks, "with -bodyfile: all values in the name", ""},
    {"-xml", "", kLooks, "accepted; rows look as they do without a form", ""},
    {"-multiline", "", kLooks, "each cell on a line of its own", ""},
    {"-json", "", kLooks, "a line of JSON for each record, as it is read; everything that -complete gives", "0.34"},
    {"-timesketch", "", kLooks, "with -json: what an import into Timesketch asks for", "0.34"},
    {"-event_json", "", kLooks, "events as JSON lines in their own structure, as hunting tools read them", "0.34"},
    {"-event_xml", "", kLooks, "events as XML, as Windows shows them, one a line", "0.34"},
    {"-cards", "", kLooks, "each record as lines \"name: value\", for reading", "0.34"},
    {"-width", "NUMBER", kLooks, "with -cards: how many characters a line takes; 0 for any number", "0.34"},
    {"-columns", "\"NAME | NAME | ...\"", kLooks, "of tables, CSV and cards only these columns, in this order", "0.34"},
    {"-color", "WHEN", kLooks, "always, never or auto: on a terminal", "0.34"},
    {"-csv_separator", "TEXT", kLooks, "what stands between cells; tab for a tab", ""},
    {"-no_whitespace", "", kLooks, "no blanks around separators", ""},
    {"-pair_datetime", "", kLooks, "date and time in one cell", ""},
    {"-dateformat", "FORMAT", kLooks, "mm/dd/yyyy, yyyy-mm-dd and the like", ""},
    {"-timeformat", "FORMAT", kLooks, "hh:mm:ss, hh:mm:ss.xxx and the like", ""},
    {"-alias", "\"ALIAS | PATH | ...\"", kLooks, "what a log is called", ""},
    {"-aliaspath", "\"ALIAS | FOLDER | ...\"", kLooks, "what the folder of logs is called", ""},
    {"-hostname", "NAME", kLooks, "log2timeline: the host of events that name none", ""},
    {"-username", "NAME", kLooks, "log2timeline: the user", ""},
    {"-out", "FILE", kOutputs, "all records into one file", ""},
    {"-outfile", "FILE", kOutputs, "the same", ""},
    {"-outdir", "FOLDER", kOutputs, "the records of each log into a file of its own", ""},
    {"-carve_out", "FOLDER", kOutputs, "with -carve: the logs that were found, as files that any reader opens", "0.34"},
    {"-stats", "FILE", kOutputs, "what was counted", ""},
    {"-hist", "\"NAME | NAME | ...\"", kOutputs, "with -stats: counts by the values of these columns", ""},
    {"-diags", "FILE", kOutputs, "what was read and what was not", ""},
    {"-account", "FILE", kOutputs, "what was read and what was not, a line of JSON for each log", "0.34"},
    {"-quiet", "", kRun, "no status", ""},
    {"-strict", "", kRun, "no run with anything to remark; exit code 2 where not all was read", "0.34"},
    {"-verbose", "", kRun, "accepted, without effect", ""},
    {"-base10", "", kRun, "accepted, without effect", ""},
    {"-signal", "TEXT", kRun, "accepted, without effect", ""},
    {"-sqlite", "FILE", kRun, "refused: not offered", ""},
    {"-h", "", kRun, "the usage", ""},
    {"-help", "", kRun, "the same", ""},
    {"--help", "", kRun, "the same", ""},
    {"/?", "", kRun, "the same", ""},
    {"-options", "", kRun, "all options; stands alone", "0.34"},
    {"-version", "", kRun, "version, commit and build; stands alone", "0.34"},
    {"--version", "", kRun, "the same", "0.34"},
};
// clang-format on

bool IsOnly(const Arguments& args, std::string_view name) {
  return args.size() == 2 && HasFlag(name, args);
}

}  // namespace

std::span<const OptionEntry> OptionTable() { return kTable; }

std::span<const KnownOption> ProgramOptions() {
  static const std::vector<KnownOption> kOptions = [] {
    std::vector<KnownOption> options;
    for (const OptionEntry& entry : kTable) options.push_back({entry.name, !entry.value.empty()});
    return options;
  }();
  return kOptions;
}

std::string OptionsText() {
  constexpr std::size_t kHelpColumn = 36;
  std::string text;
  std::string_view group;
  for (const OptionEntry& entry : kTable) {
    if (entry.group != group) text.append(group.empty() ? "" : "\n").append(entry.group) += '\n';
    group = entry.group;
    std::string line = std::string("  ").append(entry.name);
    if (!entry.value.empty()) line.append(" ").append(entry.value);
    line.resize(std::max(kHelpColumn, line.size() + 2), ' ');
    text.append(line).append(entry.help);
    if (!entry.since.empty()) text.append(" (since ").append(entry.since).append(")");
    text += '\n';
  }
  return text;
}

bool WantsOptions(const Arguments& args) { return IsOnly(args, "-options"); }

bool WantsVersion(const Arguments& args) {
  return IsOnly(args, "-version") || IsOnly(args, "--version");
}

std::string VersionText() {
  return Banner() + "\ncommit: " + kCommit + "\nbuild: " + kBuild + "\n";
}

}  // namespace tarnlex
