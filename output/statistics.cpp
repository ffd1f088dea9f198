#include "output/statistics.h"

#include <algorithm>

#include "logs/date_time.h"
#include "logs/text.h"
#include "output/cell_writer.h"

namespace tarnlex {
namespace {

constexpr std::size_t kIdWidth = 8;
constexpr std::size_t kCountWidth = 11;
constexpr std::size_t kFilterWidth = 8;
constexpr std::size_t kLeastTimeWidth = 9;
constexpr std::size_t kIdBytes = 8;
constexpr std::string_view kMissing = "<null>";

// Key of an entry: the identifier in eight bytes, the highest first, then every key value behind a
// zero byte, which no text of an event holds. So keys sort by identifier, then by values.
void SpellKey(std::string& key, const std::vector<std::string_view>& cells,
              const std::vector<int>& columns, std::uint64_t event_id) {
  key.clear();
  for (int shift = 56; shift >= 0; shift -= 8) {
    key += static_cast<char>(event_id >> shift & 0xFF);
  }
  for (const int column : columns) {
    key += '\0';
    key += column < 0 ? kMissing : cells[static_cast<std::size_t>(column)];
  }
}

const std::vector<int>& KeyColumns(FilterCounts& filter, const EventRecord& row) {
  const auto [at, added] = filter.key_columns.try_emplace(row.columns);
  if (!added) return at->second;
  for (const std::string& field : filter.key_fields) {
    at->second.push_back(row.columns == nullptr ? -1 : FindColumn(*row.columns, field, true));
  }
  return at->second;
}

// The cells of a row as far as the last of `columns`.
void ReadKeyCells(const EventRecord& row, const std::vector<int>& columns,
                  std::vector<std::string_view>& cells) {
  cells.clear();
  int last = -1;
  for (const int column : columns) last = std::max(last, column);
  CellReader reader = ReaderOf(row);
  for (int i = 0; i <= last; ++i) cells.push_back(NextCell(reader));
}

std::uint64_t EventIdOf(std::string_view key) {
  std::uint64_t id = 0;
  for (std::size_t i = 0; i < kIdBytes; ++i) id = id << 8 | static_cast<unsigned char>(key[i]);
  return id;
}

std::string KeyValues(std::string_view key) {
  std::string joined;
  for (std::size_t at = kIdBytes; at < key.size();) {
    const std::size_t end = std::min(key.find('\0', at + 1), key.size());
    if (at > kIdBytes) joined += "; ";
    joined += key.substr(at + 1, end - at - 1);
    at = end;
  }
  return joined;
}

std::string JoinFields(const std::vector<std::string>& fields) {
  std::string joined;
  for (const std::string& field : fields) {
    if (&field != &fields.front()) joined += "; ";
    joined += field;
  }
  return joined;
}

struct StatsWriter {
  TextSink* out = nullptr;
  std::string_view separator;
  std::size_t date_width = 0;
  std::size_t time_width = 0;
  DateTimeFormatter date_time;
  CellCleaner cleaner = {};
  bool cleans = false;
};

std::string CellText(const StatsWriter& writer, std::string_view text) {
  return writer.cleans ? Cleaned(writer.cleaner, text) : std::string(text);
}

void WriteLine(StatsWriter& writer, std::string_view text) {
  Append(*writer.out, text);
  Append(*writer.out, '\n');
}

void Blanks(StatsWriter& writer, std::string_view text, std::size_t width) {
  const std::size_t taken = CountCodePoints(text);
  for (std::size_t i = taken; i < width; ++i) Append(*writer.out, ' ');
}

// The first cell of a line has no separator before it.
void WriteCell(StatsWriter& writer, std::string_view text, std::size_t width, bool first = false) {
  const std::string cell = CellText(writer, text);
  if (!first) Append(*writer.out, writer.separator);
  Blanks(writer, cell, width);
  Append(*writer.out, cell);
}

void WriteNumberCell(StatsWriter& writer, std::uint64_t number, std::size_t width,
                     bool first = false) {
  char text[20];
  const char* end = WriteDecimal(number, text);
  WriteCell(writer, {text, static_cast<std::size_t>(end - text)}, width, first);
}

void WriteName(StatsWriter& writer, std::string_view name, std::size_t width, bool first = false) {
  if (!first) Append(*writer.out, writer.separator);
  const std::string cell = CellText(writer, name);
  Append(*writer.out, cell);
  Blanks(writer, cell, width);
}

void WriteNames(StatsWriter& writer) {
  WriteName(writer, "event id", kIdWidth, true);
  WriteName(writer, "occurrences", kCountWidth);
  WriteName(writer, "from date", writer.date_width);
  WriteName(writer, "from time", writer.time_width);
  WriteName(writer, "to date", writer.date_width);
  WriteName(writer, "to time", writer.time_width);
}

void WriteTime(StatsWriter& writer, std::uint64_t filetime) {
  const DateTimeText text = FormatDateTime(writer.date_time, filetime);
  WriteCell(writer, text.date, writer.date_width);
  WriteCell(writer, text.time, writer.time_width);
}

void WriteSpan(StatsWriter& writer, const SpanCount& span) {
  WriteNumberCell(writer, span.count, kCountWidth);
  WriteTime(writer, span.first);
  WriteTime(writer, span.last);
}

struct IdLine {
  std::uint64_t event_id = 0;
  SpanCount span;
};

// The identifiers that occurred, ascending.
std::vector<IdLine> IdLines(const EventIdCounts& counts) {
  std::vector<IdLine> lines;
  for (std::size_t page = 0; page < counts.pages.size(); ++page) {
    if (!counts.pages[page]) continue;
    for (std::size_t i = 0; i < counts.pages[page]->size(); ++i) {
      const SpanCount& span = (*counts.pages[page])[i];
      if (span.count > 0) lines.push_back({page * counts.pages[page]->size() + i, span});
    }
  }
  for (const auto& [event_id, span] : counts.others) lines.push_back({event_id, span});
  return lines;
}

SpanCount Overall(const std::vector<IdLine>& lines) {
  SpanCount all;
  for (const IdLine& line : lines) {
    all.count += line.span.count;
    if (line.span.first == 0) continue;
    all.first = all.first == 0 ? line.span.first : std::min(all.first, line.span.first);
    all.last = std::max(all.last, line.span.last);
  }
  return all;
}

void WriteOverall(StatsWriter& writer, std::vector<IdLine>& lines) {
  WriteLine(writer, "\n--- overall log stats ----");
  WriteNames(writer);
  WriteLine(writer, "");
  WriteCell(writer, "all", kIdWidth, true);
  WriteSpan(writer, Overall(lines));
  WriteLine(writer, "");
  std::stable_sort(lines.begin(), lines.end(),
                   [](const IdLine& a, const IdLine& b) { return a.span.count > b.span.count; });
  for (const IdLine& line : lines) {
    WriteNumberCell(writer, line.event_id, kIdWidth, true);
    WriteSpan(writer, line.span);
    WriteLine(writer, "");
  }
}

void WriteFilters(StatsWriter& writer, const LogStats& stats) {
  WriteLine(writer, "\n--- filter stats --- [refer to filter# for details]");
  WriteNames(writer);
  WriteName(writer, "filter#", kFilterWidth);
  WriteName(writer, "key values", 0);
  WriteName(writer, "key fields", 0);
  WriteLine(writer, "");
  for (const auto& [number, filter] : stats.filters) {
    const std::map<std::string_view, SpanCount> ordered(filter.entries.begin(),
                                                        filter.entries.end());
    for (const auto& [key, span] : ordered) {
      WriteNumberCell(writer, EventIdOf(key), kIdWidth, true);
      WriteSpan(writer, span);
      WriteNumberCell(writer, number + 1, kFilterWidth);
      WriteCell(writer, KeyValues(key), 0);
      WriteCell(writer, JoinFields(filter.key_fields), 0);
      WriteLine(writer, "");
    }
  }
}

std::string_view FormatText(const LogInfo& log, bool is_image) {
  if (is_image) return "format: raw image, searched for logs";
  return log.is_evtx ? "format: evtx [newer Vista/Win7 format]" : "format: evt [older XP format]";
}

void WriteHead(StatsWriter& writer, const LogInfo& log, bool is_image) {
  WriteLine(writer, "log: " + log.path);
  WriteLine(writer, FormatText(log, is_image));
  if (!log.kind.empty() && log.kind != kKindUnknown) WriteLine(writer, "type: " + log.kind);
}

}  // namespace

void AddToSpan(SpanCount& span, std::uint64_t filetime) {
  ++span.count;
  if (!IsValidFiletime(filetime)) return;
  if (span.first == 0 || filetime < span.first) span.first = filetime;
  if (filetime > span.last) span.last = filetime;
}

SpanCount& EventIdEntry(EventIdCounts& counts, std::uint64_t event_id) {
  if (event_id > 0xFFFF) return counts.others[event_id];
  std::unique_ptr<EventIdCounts::Page>& page = counts.pages[event_id >> 8];
  if (!page) page = std::make_unique<EventIdCounts::Page>();
  return (*page)[event_id & 0xFF];
}

void BeginWalk(Statistics& statistics, const LogInfo& log, std::size_t query_count,
               bool show_filters) {
  LogStats& stats = statistics.logs[log.path];
  stats.log = log;
  statistics.current = &stats;
  statistics.counting = !stats.counted;
  statistics.first_filter = stats.filter_count;
  stats.counted = true;
  stats.filter_count += query_count;
  stats.shows_filters = stats.shows_filters || show_filters;
}

void CountMatch(Statistics& statistics, std::size_t query,
                const std::vector<std::string>& key_fields, const EventRecord& row) {
  LogStats* stats = statistics.current;
  if (stats == nullptr) return;
  stats->any_match = true;
  if (!stats->shows_filters) return;
  FilterCounts& filter = stats->filters[statistics.first_filter + query];
  if (filter.entries.empty()) filter.key_fields = key_fields;
  const std::vector<int>& columns = KeyColumns(filter, row);
  ReadKeyCells(row, columns, statistics.cells);
  SpellKey(statistics.key, statistics.cells, columns, row.eventId);
  AddToSpan(filter.entries[statistics.key], row.timeCreated);
}

void ForgetColumns(Statistics& statistics) {
  if (statistics.current == nullptr) return;
  for (auto& [number, filter] : statistics.current->filters) filter.key_columns.clear();
}

void WriteLogStats(TextSink& out, const LogStats& stats, const RunOptions& options) {
  StatsWriter writer;
  writer.out = &out;
  writer.separator = options.separator;
  writer.date_width = std::max(kLeastTimeWidth, CountCodePoints(options.date_format));
  writer.time_width = std::max(kLeastTimeWidth, CountCodePoints(options.time_format));
  writer.date_time = MakeDateTimeFormatter(options.date_format, options.time_format);
  writer.cleaner = MakeCellCleaner(options.separator_class, false);
  writer.cleans = options.complete;
  WriteHead(writer, stats.log, IsCarving(options));
  std::vector<IdLine> lines = IdLines(stats.event_ids);
  if (lines.empty() || !stats.any_match) {
    WriteLine(writer, "No events found in log OR log skipped based on filter selected");
    return;
  }
  WriteOverall(writer, lines);
  if (stats.shows_filters) WriteFilters(writer, stats);
}

void WriteAndForget(TextSink& out, Statistics& statistics, const LogInfo& log,
                    const RunOptions& options) {
  const auto known = statistics.logs.find(log.path);
  if (known == statistics.logs.end()) {
    LogStats unseen;
    unseen.log = log;
    WriteLogStats(out, unseen, options);
    return;
  }
  WriteLogStats(out, known->second, options);
  if (statistics.current == &known->second) statistics.current = nullptr;
  statistics.logs.erase(known);
}

void WriteStatistics(TextSink& out, Statistics& statistics, const LogTable& logs,
                     const RunOptions& options) {
  for (const auto& [path, log] : logs) WriteAndForget(out, statistics, log, options);
  Flush(out);
  statistics = {};
}

}  // namespace tarnlex
