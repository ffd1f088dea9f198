#include "reports/report_lines.h"

#include <algorithm>
#include <utility>

#include "logs/paths.h"
#include "logs/text.h"

namespace tarnlex {
namespace {

bool KindFits(const BuiltinReport& report, const LogKind& kind) {
  if (!report.kind_part.empty() && kind.find(report.kind_part) != LogKind::npos) return true;
  return std::any_of(report.kinds.begin(), report.kinds.end(), [&kind](std::string_view wanted) {
    return !wanted.empty() && kind == wanted;
  });
}

bool NameFits(const BuiltinReport& report, const std::string& path) {
  const std::string name = ToLowerAscii(FileNameOf(path));
  return std::any_of(report.name_parts.begin(), report.name_parts.end(),
                     [&name](std::string_view part) {
                       return !part.empty() && name.find(part) != std::string::npos;
                     });
}

void AddForKind(std::string_view kind, QuerySpec query, QueryList& queries) {
  if (query.format == LogFormat::EVTX) {
    query.channel = kind;
  } else if (kind == kKindSecurity) {
    query.provider = kind;
  } else {
    query.none_of.push_back("source_name|" + std::string(kKindSecurity));
  }
  queries.push_back(std::move(query));
}

void AppendOption(std::string_view option, std::string_view value, std::string& line) {
  line.append(", ").append(option).append(", ").append(value);
}

}  // namespace

bool ReportFits(const BuiltinReport& report, const LogInfo& log, bool complete) {
  if (report.evtx_only && !log.is_evtx) return false;
  return KindFits(report, log.kind) &&
         (complete || report.kind_is_enough || NameFits(report, log.path));
}

std::string CommandLineOf(const BuiltinQuery& query) {
  std::string line = "!cmd, ";
  line += query.format == LogFormat::EVTX ? "-enum_evtxlog" : "-enum_evtlog";
  AppendOption("-id", std::to_string(query.event_id), line);
  AppendOption("-name", query.name, line);
  if (!query.condition.empty()) AppendOption("-conditions", query.condition, line);
  if (query.all_data) line += ", -all_data";
  std::vector<std::string> pulls;
  SplitList(query.pulls, ',', true, pulls);
  for (const std::string& pull : pulls) AppendOption("-pull", pull, line);
  return line;
}

std::vector<TokenList> ReportLines(const BuiltinReport& report, LogFormat format) {
  std::vector<TokenList> lines;
  for (const BuiltinQuery& query : report.queries) {
    TokenList tokens;
    if (query.format != format || !SplitCommandLine(CommandLineOf(query), tokens)) continue;
    lines.push_back(std::move(tokens));
  }
  return lines;
}

QueryList QueriesByKind(const BuiltinReport& report, const QueryList& queries) {
  QueryList held;
  for (const QuerySpec& query : queries) {
    for (const std::string_view kind : report.kinds) {
      if (!kind.empty()) AddForKind(kind, query, held);
    }
    if (report.kind_part.empty() || query.format != LogFormat::EVTX) continue;
    held.push_back(query);
    held.back().all_of.push_back("Channel|" + std::string(report.kind_part));
  }
  return held;
}

}  // namespace tarnlex
