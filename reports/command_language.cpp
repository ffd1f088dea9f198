#include "reports/command_language.h"

#include <algorithm>
#include <utility>

#include "logs/date_time.h"
#include "logs/option_search.h"
#include "logs/parse_number.h"
#include "logs/text.h"
#include "logs/time_bounds.h"
#include "reports/filter.h"

namespace tarnlex {
namespace {

std::string ValueOf(TokenList& tokens, std::string_view name) {
  std::string value;
  FindValue(name, tokens, value);
  return value;
}

bool TakeFormat(TokenList& tokens, LogFormat& format) {
  if (FindFlag("-enum_evtxlog", tokens)) {
    format = LogFormat::EVTX;
    return true;
  }
  format = LogFormat::EVT;
  return FindFlag("-enum_evtlog", tokens);
}

bool TakeEventId(TokenList& tokens, QuerySpec& query) {
  std::string value;
  return !FindValue("-id", tokens, value) || ParseNumber(value, query.event_id);
}

// A line that names a log waits until that log is processed; then its format and kind are known.
bool TakeLog(TokenList& tokens, const LogInfo& log, QuerySpec& query) {
  if (log.path.empty()) return false;
  query.log_path = log.path;
  return !FindValue("-log", tokens, query.log_path) || EqualsNoCase(query.log_path, log.path);
}

void SetHistogram(const std::vector<std::string>& fields, QuerySpec& query) {
  query.histogram = true;
  for (const std::string& field : fields) query.histogram_fields.push_back(ToLowerAscii(field));
}

void TakeHistogram(TokenList& tokens, const RunOptions& options, QuerySpec& query) {
  std::string value;
  if (FindValue("-hist", tokens, value)) {
    std::vector<std::string> fields;
    SplitList(value, '|', true, fields);
    if (fields.empty()) fields.push_back(value);
    SetHistogram(fields, query);
  } else if (!options.hist_ids.empty()) {
    SetHistogram(options.hist_ids, query);
  }
}

bool TakeType(TokenList& tokens, const LogInfo& log, QuerySpec& query) {
  query.type = ToLowerAscii(ValueOf(tokens, "-type"));
  return ContainsNoCase(log.kind, query.type);
}

// False when the text cannot be read. One that is read but denotes no valid instant (before 1970,
// say) is no bound.
bool ReadBound(std::string_view text, std::uint64_t& bound) {
  bound = 0;
  std::tm tm{};
  return ParseTimeByItself(text, bound) || ReadTimeArgument(text, tm);
}

bool TakeTimes(TokenList& tokens, QuerySpec& query) {
  std::string value;
  if (FindValue("-start_time", tokens, value) && !ReadBound(value, query.start_time)) return false;
  if (FindValue("-stop_time", tokens, value)) ReadBound(value, query.stop_time);
  return true;
}

// Event types and levels are numbered differently in the two containers.
std::string SuccessCondition(const std::string& word, LogFormat format) {
  const bool evtx = format == LogFormat::EVTX;
  const std::string field = evtx ? "Level|" : "success_type|";
  if (EqualsNoCase(word, "error")) return field + (evtx ? "2" : "1");
  if (EqualsNoCase(word, "warning")) return field + (evtx ? "3" : "2");
  if (EqualsNoCase(word, "information")) return field + "4";
  return field + word;
}

// "NAME=HEADER"; the first of a name counts, as of any other option.
void TakeHeaders(TokenList& tokens, QuerySpec& query) {
  for (std::string value; FindValue("-label", tokens, value);) {
    std::string name;
    std::string header;
    if (SplitLabel(value, name, header)) query.headers.emplace(name, header);
  }
}

// A histogram finds its columns by what they are called in the end.
void RenameHistogramFields(QuerySpec& query) {
  for (std::string& field : query.histogram_fields) {
    for (const auto& [name, header] : query.headers) {
      if (!EqualsNoCase(field, name)) continue;
      field = ToLowerAscii(header);
      break;
    }
  }
}

void TakeConditions(TokenList& tokens, QuerySpec& query) {
  query.channel = ValueOf(tokens, "-channel");
  query.provider = ValueOf(tokens, "-provider");
  std::string value;
  while (FindValue("-and", tokens, value)) query.all_of.push_back(value);
  while (FindValue("-not", tokens, value)) query.none_of.push_back(value);
}

// The order of the steps matters: what one of them takes no other can mistake for its own. Names
// and comments are free text, which may read like an option, so they go first.
bool MakeQuery(TokenList tokens, const LogInfo& log, const RunOptions& options, QuerySpec& query) {
  query.name = ValueOf(tokens, "-name");
  ValueOf(tokens, "-comment");  // for whoever reads the file
  query.all_data = FindFlag("-all_data", tokens);
  query.event_lookup = FindFlag("-event_lookup", tokens);
  if (!TakeFormat(tokens, query.format)) return false;
  if (!TakeEventId(tokens, query)) return false;
  if (!TakeLog(tokens, log, query)) return false;
  TakeHistogram(tokens, options, query);
  if (!TakeType(tokens, log, query)) return false;
  if (!TakeTimes(tokens, query)) return false;
  query.conditions = ValueOf(tokens, "-conditions");
  query.string_exists = ValueOf(tokens, "-string_exists");
  for (std::string value; FindValue("-pull", tokens, value);) query.pull.push_back(value);
  std::string word;
  if (FindValue("-success_type", tokens, word)) {
    query.success_condition = SuccessCondition(word, query.format);
  }
  TakeConditions(tokens, query);
  TakeHeaders(tokens, query);
  if (query.format == LogFormat::EVTX) RenameHistogramFields(query);
  if (query.format != FormatOf(log)) return false;
  ApplyRunOverrides(options, query);
  return true;
}

std::uint32_t CountHistograms(const QueryList& queries) {
  return static_cast<std::uint32_t>(std::count_if(
      queries.begin(), queries.end(), [](const QuerySpec& query) { return query.histogram; }));
}

void InsertQuery(QuerySpec query, QueryList& queries) {
  const std::string path = ToLowerAscii(query.log_path);
  const auto at = std::upper_bound(queries.begin(), queries.end(), path,
                                   [](const std::string& left, const QuerySpec& right) {
                                     return left < ToLowerAscii(right.log_path);
                                   });
  queries.insert(at, std::move(query));
}

// Takes everything of one identifier, where `last` is 0, or of a range.
QuerySpec PlainQuery(const LogInfo& log, const RunOptions& options, const IdRange& ids,
                     std::size_t number) {
  QuerySpec query;
  query.log_path = log.path;
  query.event_id = ids.first;
  query.last_event_id = ids.last;
  query.all_data = true;
  query.format = FormatOf(log);
  if (!options.hist_ids.empty()) SetHistogram(options.hist_ids, query);
  if (query.histogram) query.histogram_number = static_cast<std::uint32_t>(number);
  ApplyRunOverrides(options, query);
  return query;
}

}  // namespace

bool SplitCommandLine(std::string_view line, TokenList& tokens) {
  constexpr std::string_view kCommand = "!cmd,";
  tokens.clear();
  if (line.starts_with("//")) return false;
  const std::size_t at = line.find(kCommand);
  if (at == std::string_view::npos) return false;
  SplitList(line.substr(at + kCommand.size()), ',', false, tokens);
  for (std::string& token : tokens) token = std::string(Trim(token));
  return true;
}

bool SplitLabel(std::string_view text, std::string& name, std::string& header) {
  const std::size_t equals = text.find('=');
  if (equals == std::string_view::npos) return false;
  name = Trim(text.substr(0, equals));
  header = Trim(text.substr(equals + 1));
  return !name.empty() && !header.empty();
}

bool BuildQueries(const std::vector<TokenList>& lines, const LogInfo& log,
                  const RunOptions& options, bool append, QueryList& queries) {
  if (!append) queries.clear();
  std::uint32_t histograms = CountHistograms(queries);
  for (const TokenList& tokens : lines) {
    QuerySpec query;
    if (!MakeQuery(tokens, log, options, query)) continue;
    if (query.histogram) query.histogram_number = histograms++;
    InsertQuery(std::move(query), queries);
  }
  return !queries.empty();
}

QueryList PlainQueries(const LogInfo& log, const RunOptions& options) {
  QueryList queries;
  for (const std::uint64_t event_id : options.event_ids) {
    queries.push_back(PlainQuery(log, options, {event_id, 0}, queries.size()));
  }
  for (const IdRange& range : options.event_ranges) {
    queries.push_back(PlainQuery(log, options, range, queries.size()));
  }
  return queries;
}

}  // namespace tarnlex
