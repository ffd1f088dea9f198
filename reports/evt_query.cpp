#include "reports/evt_query.h"

#include <algorithm>
#include <functional>
#include <string_view>
#include <utility>

#include "evt/fields.h"
#include "logs/parse_number.h"
#include "logs/plain_ascii.h"
#include "logs/sid.h"
#include "logs/text.h"

namespace tarnlex {
namespace {

constexpr std::string_view kSourceName = "source name";
constexpr std::string_view kComputerName = "computer name";
constexpr std::string_view kParameter = "param_";
constexpr std::string_view kNoValue = "-";

// Numbers that no record can have a string for count as no number.
std::uint16_t StringNumber(std::string_view text) {
  const std::uint64_t number = LeadingNumber(text);
  return number <= 0xFFFF ? static_cast<std::uint16_t>(number) : std::uint16_t{0};
}

// "param_01" for 1: at least two digits.
std::string ParameterName(std::uint64_t number) {
  std::string name(kParameter);
  if (number < 10) name += '0';
  return name + std::to_string(number);
}

std::string PreparePull(const std::string& pull, QuerySpec& query) {
  const std::size_t bar = pull.find('|');
  const std::uint16_t number = StringNumber(pull.substr(0, bar));
  if (bar != std::string::npos) query.labels.emplace(number, ToLowerAscii(pull.substr(bar + 1)));
  return ParameterName(number);
}

// A histogram may also name a column by its text; that one stays.
std::string HistogramColumn(const std::string& field, const QuerySpec& query) {
  if (!IsDecimal(field)) return field;
  const std::uint16_t number = StringNumber(field);
  const auto label = query.labels.find(number);
  return label != query.labels.end() ? label->second : ParameterName(number);
}

// The label of a "param_" name, where the query has one, else the name.
std::string_view ColumnName(const QuerySpec& query, std::string_view name) {
  if (!name.starts_with(kParameter)) return name;
  const auto label = query.labels.find(StringNumber(name.substr(kParameter.size())));
  return label != query.labels.end() ? std::string_view(label->second) : name;
}

// The string that a pulled name asks for: the number behind its first "_".
std::int32_t PulledSource(std::string_view name) {
  const std::size_t mark = name.find('_');
  return mark == std::string_view::npos ? kFromNothing : StringNumber(name.substr(mark + 1));
}

struct NamedSources {
  std::vector<std::string_view> names;
  std::vector<std::int32_t> sources;
};

void AddSource(NamedSources& list, std::string_view name, std::int32_t source) {
  list.names.push_back(name);
  list.sources.push_back(source);
}

NamedSources PulledSources(const QuerySpec& query) {
  NamedSources list;
  std::size_t next = 0;
  if (query.pull.size() >= 2 && query.pull[0] == kSourceName) {
    AddSource(list, kSourceName, kFromSourceName);
    next = 1;
    if (query.pull[1] == kComputerName) {
      AddSource(list, kComputerName, kFromComputerName);
      next = 2;
    }
  }
  for (; next < query.pull.size(); ++next) {
    AddSource(list, ColumnName(query, query.pull[next]), PulledSource(query.pull[next]));
  }
  return list;
}

// A name that comes twice keeps its first value.
EvtColumns MakeColumns(EventRows& rows, const NamedSources& list) {
  EvtColumns columns;
  std::vector<int> position_of;
  columns.set = AddColumnSet(rows, list.names, position_of);
  columns.sources.assign(columns.set->names.size(), kFromNothing);
  for (std::size_t i = 0; i < position_of.size(); ++i) {
    if (position_of[i] < 0) continue;
    columns.sources[static_cast<std::size_t>(position_of[i])] = list.sources[i];
  }
  return columns;
}

EvtColumns AllDataColumns(EventRows& rows, const QuerySpec& query, std::size_t strings) {
  std::vector<std::string> names;
  for (std::size_t number = 1; number <= strings; ++number) names.push_back(ParameterName(number));
  NamedSources list;
  AddSource(list, kSourceName, kFromSourceName);
  AddSource(list, kComputerName, kFromComputerName);
  for (std::size_t i = 0; i < strings; ++i) {
    AddSource(list, ColumnName(query, names[i]), static_cast<std::int32_t>(i + 1));
  }
  return MakeColumns(rows, list);
}

const EvtColumns& ColumnsFor(EventRows& rows, EvtQuery& query, std::size_t strings) {
  const QuerySpec& spec = *query.spec;
  const std::size_t key = spec.all_data ? strings : 0;
  const auto known = query.columns.find(key);
  if (known != query.columns.end()) return known->second;
  EvtColumns columns =
      spec.all_data ? AllDataColumns(rows, spec, strings) : MakeColumns(rows, PulledSources(spec));
  return query.columns.emplace(key, std::move(columns)).first->second;
}

// What fills a cell. A pull never gives a record's last string, while a row of all data does.
Bytes SourceText(const EvtRecord& record, std::int32_t source, bool all_data, bool& absent) {
  absent = false;
  if (source == kFromSourceName) return record.source_name;
  if (source == kFromComputerName) return record.computer_name;
  const std::size_t number = static_cast<std::size_t>(source);
  const std::size_t reachable = record.strings.size() + (all_data ? 1 : 0);
  absent = source == kFromNothing || number >= reachable;
  return absent ? Bytes{} : record.strings[number - 1];
}

// Takes line breaks and tabs out of a finished text: a row is one line of values.
char* CleanText(char* begin, char* end) {
  // Most texts have none; this loop has no way out early, so that it runs many bytes at a time.
  const auto size = static_cast<std::size_t>(end - begin);
  unsigned char any = 0;
  for (std::size_t i = 0; i < size; ++i) any |= static_cast<unsigned char>(begin[i]) <= '\r';
  if (any == 0) return end;
  char* to = begin;
  for (const char* from = begin; from != end; ++from) {
    if (*from == '\r' || *from == '\t') continue;
    *to++ = *from == '\n' ? ',' : *from;
  }
  return to;
}

// Most texts are plain ASCII, which needs no second look. Null for any other.
char* WritePlain(const EvtRecord& record, Bytes utf16, char* at) {
  const Bytes part = record.log.part;
  const std::less_equal<const std::uint8_t*> reaches;
  const bool in_part = !utf16.empty() && reaches(part.data(), utf16.data()) &&
                       reaches(utf16.data() + utf16.size(), part.data() + part.size());
  if (!in_part) return nullptr;
  const auto offset = static_cast<std::size_t>(utf16.data() - part.data());
  return WritePlainAscii(part, offset, utf16.size() / 2, at);
}

// Writes one cell; returns where the next one begins.
char* WriteCell(RowBuilder& builder, const EvtRecord& record, std::int32_t source, bool all_data,
                char* at) {
  bool absent = false;
  const Bytes utf16 = SourceText(record, source, all_data, absent);
  char* const text = BeginCell(builder, at);
  if (absent) return EndCell(builder, std::copy(kNoValue.begin(), kNoValue.end(), text));
  if (char* const end = WritePlain(record, utf16, text)) return EndPlainCell(builder, end);
  return EndCell(builder, CleanText(text, WriteUtf8(utf16.data(), utf16.size() / 2, text)));
}

std::size_t MaxRowBytes(const EvtRecord& record, const EvtColumns& columns, bool all_data) {
  std::size_t total = 0;
  for (const std::int32_t source : columns.sources) {
    bool absent = false;
    const std::size_t units = SourceText(record, source, all_data, absent).size() / 2;
    total += kMaxCellOverhead + kPlainAsciiBlock + units * kMaxUtf8PerUnit;
  }
  return total;
}

bool AnyTextContains(EvtQuery& query, EvtRecord& record) {
  CutTexts(record);
  const auto contains = [&query](Bytes utf16) {
    query.text.resize(utf16.size() / 2 * kMaxUtf8PerUnit);
    const char* end = WriteUtf8(utf16.data(), utf16.size() / 2, query.text.data());
    const auto size = static_cast<std::size_t>(end - query.text.data());
    return ContainsNoCase(std::string_view(query.text).substr(0, size), query.tests.exists);
  };
  if (contains(record.source_name) || contains(record.computer_name)) return true;
  if (!record.sid.empty() && ContainsNoCase(SidText(record.sid), query.tests.exists)) return true;
  return std::any_of(record.strings.begin(), record.strings.end(), contains);
}

bool Holds(const Condition& condition, EvtRecord& record, std::string& text) {
  if (!condition.given) return true;
  FieldText(record, condition.field, text);
  return ConditionHolds(condition, text);
}

}  // namespace

void PrepareForEvt(QuerySpec& query) {
  std::vector<std::string> names = {std::string(kSourceName), std::string(kComputerName)};
  for (const std::string& pull : query.pull) names.push_back(PreparePull(pull, query));
  query.pull = std::move(names);
  query.histogram_columns.clear();
  for (const std::string& field : query.histogram_fields) {
    query.histogram_columns.push_back(HistogramColumn(field, query));
  }
}

std::vector<EvtQuery> PrepareEvtQueries(QueryList& queries) {
  std::vector<EvtQuery> prepared;
  for (QuerySpec& query : queries) {
    PrepareForEvt(query);
    prepared.emplace_back();
    prepared.back().spec = &query;
    prepared.back().position = static_cast<std::uint32_t>(prepared.size() - 1);
    prepared.back().tests = MakeQueryTests(query);
  }
  return prepared;
}

void ForgetRows(EvtQuery& query) {
  query.columns.clear();
  query.texts = {};
}

bool EvtQueryTakes(EvtQuery& query, EvtRecord& record) {
  const QueryTests& tests = query.tests;
  return IdPasses(tests, record.event_id) && TimePasses(tests, record.filetime) &&
         Holds(tests.condition, record, query.text) && Holds(tests.success, record, query.text) &&
         (tests.exists.empty() || AnyTextContains(query, record));
}

void AddEvtRow(EventRows& rows, EvtQuery& query, EvtRecord& record) {
  CutTexts(record);
  const bool all_data = query.spec->all_data;
  const EvtColumns& columns = ColumnsFor(rows, query, record.strings.size());
  EventRecord row;
  row.level = record.event_type;
  row.timeCreated = record.filetime;
  row.eventId = record.event_id;
  row.eventRecordId = record.record_number;
  FillRowQuery(rows, *query.spec, query.position, query.texts, row);
  row.columns = columns.set;
  RowBuilder builder = BeginRow(rows, MaxRowBytes(record, columns, all_data));
  char* at = builder.start;
  for (const std::int32_t source : columns.sources) {
    at = WriteCell(builder, record, source, all_data, at);
  }
  EndRow(rows, builder, at, row);
}

}  // namespace tarnlex
