#include "reports/report_texts.h"

#include <algorithm>
#include <cstdint>
#include <set>
#include <vector>

#include "logs/parse_number.h"
#include "logs/text.h"
#include "reports/builtin_reports.h"
#include "reports/command_file.h"
#include "reports/report_library.h"
#include "reports/report_lines.h"

namespace tarnlex {
namespace {

// The lines of a built-in report for one kind of log, which a command file has to name.
void AppendLines(const BuiltinReport& report, std::string_view kind, std::string& text) {
  if (kind.empty()) return;
  for (const BuiltinQuery& query : report.queries) {
    text.append(CommandLineOf(query)).append(", -type, ").append(kind).append("\n");
  }
}

std::string TextOf(const BuiltinReport& report) {
  std::string text("// ");
  text.append(report.name).append(": what -").append(report.name).append(" takes\n");
  text.append("// question: ").append(report.question).append("\n");
  text.append("// since: ").append(report.since).append("\n");
  text.append("// careful: -").append(report.name).append(" goes by the log's kind, and -time by");
  text.append(" its name too; these lines by the kind alone\n");
  for (const std::string_view kind : report.kinds) AppendLines(report, kind, text);
  AppendLines(report, report.kind_part, text);
  return text;
}

// What stands behind "// KEY: " and on the lines that go on with it.
std::string HeadValue(std::string_view text, std::string_view key) {
  constexpr std::string_view kGoesOn = "//   ";
  const std::string head = std::string("// ").append(key).append(": ");
  std::string value;
  bool found = false;
  for (const std::string_view line : CommandFileLines(text)) {
    if (!found && line.starts_with(head)) {
      value = line.substr(head.size());
      found = true;
    } else if (found && line.starts_with(kGoesOn)) {
      value.append(" ").append(line.substr(kGoesOn.size()));
    } else if (found) {
      break;
    }
  }
  return value;
}

std::set<std::uint64_t> EventsOf(const std::vector<TokenList>& lines, LogFormat format) {
  const char* const option = format == LogFormat::EVTX ? "-enum_evtxlog" : "-enum_evtlog";
  std::set<std::uint64_t> ids;
  for (const TokenList& line : lines) {
    std::string value;
    std::uint64_t id = 0;
    if (HasFlag(option, line) && PeekValue("-id", line, value) && ParseNumber(value, id)) {
      ids.insert(id);
    }
  }
  return ids;
}

// "1 4-6 9": what follows one another is a range.
std::string Ranges(const std::set<std::uint64_t>& ids) {
  std::string text;
  for (auto at = ids.begin(); at != ids.end();) {
    const std::uint64_t first = *at;
    std::uint64_t last = first;
    while (++at != ids.end() && *at == last + 1) ++last;
    if (!text.empty()) text += ' ';
    text += std::to_string(first);
    if (last > first) text.append("-").append(std::to_string(last));
  }
  return text;
}

std::string EventsText(std::string_view text) {
  std::vector<TokenList> lines;
  ParseCommandText(text, lines);
  std::string events = Ranges(EventsOf(lines, LogFormat::EVTX));
  const std::string evt = Ranges(EventsOf(lines, LogFormat::EVT));
  if (evt.empty()) return events;
  if (!events.empty()) events += "; ";
  return events + "EVT " + evt;
}

}  // namespace

std::span<const KnownOption> ReportNames() {
  static const std::vector<KnownOption> kNames = [] {
    std::vector<KnownOption> names;
    for (const BuiltinReport& report : BuiltinReports()) names.push_back({report.name});
    for (const LibraryReport& report : ReportLibrary()) names.push_back({report.name});
    return names;
  }();
  return kNames;
}

std::string_view NearestReport(std::string_view name) {
  const KnownOption* const near = NearestOption(name, ReportNames());
  return near ? near->name : std::string_view();
}

std::string ReportText(std::string_view name) {
  for (const BuiltinReport& report : BuiltinReports()) {
    if (EqualsNoCase(report.name, name)) return TextOf(report);
  }
  const LibraryReport* const report = FindLibraryReport(name);
  return report ? std::string(report->text) : std::string();
}

std::string ReportList() {
  std::size_t width = 0;
  for (const KnownOption& report : ReportNames()) width = std::max(width, report.name.size());
  std::string list;
  for (const KnownOption& report : ReportNames()) {
    const std::string text = ReportText(report.name);
    list.append(report.name).append(width - report.name.size(), ' ');
    list.append(" | ").append(HeadValue(text, "question"));
    list.append(" | ").append(EventsText(text));
    list.append(" | ").append(HeadValue(text, "since")).append("\n");
  }
  return list;
}

}  // namespace tarnlex
