#include "output/table.h"

#include <algorithm>
#include <cstring>
#include <span>
#include <utility>

#include "logs/date_time.h"
#include "logs/text.h"
#include "output/bodyfile.h"
#include "output/cell_writer.h"
#include "output/empty_cells.h"
#include "output/log2timeline.h"
#include "output/table_columns.h"

namespace tarnlex {
namespace {

constexpr std::size_t kNumberWidth = 10;
constexpr std::size_t kLevelWidth = 6;
constexpr std::size_t kLogWidth = 11;

// A short text that stands behind every cell: stored as one block, then counted.
struct CellEnd {
  std::string whole;
  char block[kCellBlock] = {};
};

CellEnd MakeCellEnd(std::string_view text) {
  CellEnd end;
  end.whole = text;
  std::memcpy(end.block, text.data(), std::min(text.size(), sizeof end.block));
  return end;
}

// A text as it was last written.
struct RepeatedText {
  std::string_view source;
  std::string cleaned;
  std::size_t characters = 0;
};

// A whole row of empty cells, from which stretches are copied.
struct EmptyRow {
  std::string text;
  std::vector<std::size_t> starts;  // of each column, and of what follows the last
};

// Everything that the tables of one log have in common.
struct TableWriter {
  CellWriter cells;
  CellCleaner text_cleaner;
  CellCleaner value_cleaner;
  DateTimeFormatter date_time;
  CellEnd between;             // two cells of a row
  CellEnd row_end;             // behind the last cell
  std::string_view separator;  // between two names of the header
  bool joined = false;
  bool padded = true;
  bool paired = false;
  bool blank_before_time = true;
  bool cleans_all = false;  // the separator may stand in times and levels
  bool is_evtx = true;
  std::size_t date_width = 0;
  std::size_t time_width = 0;
  std::uint64_t cleaned_day = ~std::uint64_t{0};
  std::string cleaned_date;
  std::string log_name;
  EmptyRow empty;  // of the present table
  RepeatedText query_name_text;
  RepeatedText provider_text;
  RepeatedText log_name_text;
};

void Write(CellWriter& cells, const CellEnd& end) {
  if (end.whole.size() > sizeof end.block) {
    WriteVerbatim(cells, end.whole);
    return;
  }
  NeedRoom(cells, sizeof end.block);
  std::memcpy(cells.at, end.block, sizeof end.block);
  cells.at += end.whole.size();
}

void Pad(TableWriter& table, std::size_t width, std::size_t written) {
  if (table.padded && written < width) WriteBlanks(table.cells, width - written);
}

void WriteNumberCell(TableWriter& table, std::uint64_t number) {
  NeedRoom(table.cells, 20 + kNumberWidth);
  const char* const start = table.cells.at;
  WriteNumber(table.cells, number);
  Pad(table, kNumberWidth, static_cast<std::size_t>(table.cells.at - start));
}

// A text that is mostly the very one of the row before: cleaned when it changes.
void WriteRepeatedCell(TableWriter& table, RepeatedText& repeated, std::string_view text,
                       std::size_t width) {
  if (text.data() != repeated.source.data() || text.size() != repeated.source.size()) {
    repeated.source = text;
    repeated.cleaned = Cleaned(table.text_cleaner, text);
    repeated.characters = CountCodePoints(repeated.cleaned);
  }
  WriteVerbatim(table.cells, repeated.cleaned);
  Pad(table, width, repeated.characters);
}

// A text of the program's own, which the usual separators never stand in.
void WriteOwnText(TableWriter& table, std::string_view text) {
  if (table.cleans_all) {
    WriteCleaned(table.cells, table.text_cleaner, text);
  } else {
    WriteVerbatim(table.cells, text);
  }
}

// A date like "Mar 07, 12" holds a comma of its own; it is the same for all rows of a day.
void WriteDate(TableWriter& table, std::string_view date) {
  if (date.empty()) return;
  if (table.date_time.last_day != table.cleaned_day) {
    table.cleaned_day = table.date_time.last_day;
    table.cleaned_date = Cleaned(table.text_cleaner, date);
  }
  WriteVerbatim(table.cells, table.cleaned_date);
}

void WriteTimeCells(TableWriter& table, std::uint64_t filetime) {
  const DateTimeText text = FormatDateTime(table.date_time, filetime);
  WriteDate(table, text.date);
  if (table.paired) {
    WriteCharacter(table.cells, ' ');
    WriteOwnText(table, text.time);
    Pad(table, table.date_width + table.time_width + 1, text.date.size() + text.time.size() + 1);
    return;
  }
  Pad(table, table.date_width, text.date.size());
  Write(table.cells, table.between);
  if (table.blank_before_time) WriteCharacter(table.cells, ' ');
  WriteOwnText(table, text.time);
  Pad(table, table.time_width, text.time.size());
}

std::size_t WidthOf(const TableColumns& columns, std::size_t column) {
  return columns.widths.empty() ? 0 : columns.widths[column];
}

void MakeEmptyRow(TableWriter& table, const TableColumns& columns) {
  EmptyRow& empty = table.empty;
  empty.text.clear();
  empty.starts.assign(1, 0);
  for (std::size_t column = 0; column < columns.names.size(); ++column) {
    empty.text.append(WidthOf(columns, column), ' ');
    empty.text += table.between.whole;
    empty.starts.push_back(empty.text.size());
  }
}

// Cells of columns that the row does not have, from `next` up to `column`.
void WriteEmptyCells(TableWriter& table, std::size_t next, std::size_t column) {
  if (next == column) return;
  const EmptyRow& empty = table.empty;
  WriteVerbatim(table.cells,
                std::string_view(empty.text)
                    .substr(empty.starts[next], empty.starts[column] - empty.starts[next]));
}

void WriteValueCells(TableWriter& table, const TableColumns& columns, const EventRecord& row,
                     const std::vector<std::uint32_t>* positions) {
  std::size_t next = 0;
  if (positions != nullptr) {
    CellReader reader{row.dataItems};
    for (const std::uint32_t column : *positions) {
      WriteEmptyCells(table, next, column);
      const std::string_view text = NextCell(reader);
      const std::size_t longer = WriteCleanedCell(table.cells, table.value_cleaner, text);
      if (table.padded) Pad(table, columns.widths[column], CountCellCharacters(text) + longer);
      Write(table.cells, table.between);
      next = column + std::size_t{1};
    }
  }
  WriteEmptyCells(table, next, columns.names.size());
}

// Copies a joined cell and its separator; a block behind them is overwritten. Returns their end.
const char* CopyJoinedCell(char separator, const char* from, char*& out) {
  for (;;) {
    const std::size_t before = FindInCellBlock(separator, from);
    std::memcpy(out, from, kCellBlock);
    const std::size_t copied = std::min(before + 1, kCellBlock);
    from += copied;
    out += copied;
    if (before < kCellBlock) return from;
  }
}

// Joined cells go out as they lie, with empty ones in between where the row lacks columns.
void WriteJoinedCells(TableWriter& table, const TableColumns& columns, const EventRecord& row,
                      const std::vector<std::uint32_t>& positions) {
  if (positions.size() == columns.names.size()) {
    WriteVerbatim(table.cells, {row.dataItems, row.dataSize});
    return;
  }
  NeedRoom(table.cells, row.dataSize + columns.names.size() + kCellBlock);
  const char separator = table.separator.front();
  const char* from = row.dataItems;
  char* at = table.cells.at;
  std::size_t next = 0;
  const auto skip_to = [&](std::size_t column) {
    std::memset(at, separator, column - next);
    at += column - next;
  };
  for (const std::uint32_t column : positions) {
    skip_to(column);
    from = CopyJoinedCell(separator, from, at);
    next = column + std::size_t{1};
  }
  skip_to(columns.names.size());
  table.cells.at = at;
}

void WriteRow(TableWriter& table, const TableColumns& columns, const EventRecord& row,
              const std::vector<std::uint32_t>* positions) {
  WriteNumberCell(table, row.eventRecordId);
  Write(table.cells, table.between);
  WriteNumberCell(table, row.eventId);
  Write(table.cells, table.between);
  WriteTimeCells(table, row.timeCreated);
  Write(table.cells, table.between);
  const std::string_view level = LevelText(table.is_evtx, row.level);
  WriteOwnText(table, level);
  Pad(table, kLevelWidth, level.size());
  Write(table.cells, table.between);
  if (columns.has_query_name) {
    WriteRepeatedCell(table, table.query_name_text, row.queryName, columns.query_name_width);
    Write(table.cells, table.between);
  }
  if (table.is_evtx) {
    WriteRepeatedCell(table, table.provider_text, row.providerName, columns.provider_width);
    Write(table.cells, table.between);
  }
  if (positions != nullptr && row.form == CellForm::kJoined) {
    WriteJoinedCells(table, columns, row, *positions);
  } else {
    WriteValueCells(table, columns, row, positions);
  }
  WriteRepeatedCell(table, table.log_name_text, table.log_name, kLogWidth);
  Write(table.cells, table.row_end);
}

// Only names of the program's own are centred, which cleaning leaves as they are.
void WriteName(TableWriter& table, std::string_view name, std::size_t width, bool centred) {
  const std::size_t characters = CountCodePoints(name);
  const std::size_t spare = table.padded && width > characters ? width - characters : 0;
  const std::size_t before = centred && spare > 1 ? spare / 2 : 0;
  WriteBlanks(table.cells, before);
  const std::size_t longer = WriteCleaned(table.cells, table.text_cleaner, name);
  Pad(table, width, before + characters + longer);
}

void WriteHeader(TableWriter& table, const TableColumns& columns) {
  const auto put = [&table](std::string_view name, std::size_t width, bool centred) {
    WriteName(table, name, width, centred);
    WriteVerbatim(table.cells, table.separator);
  };
  put("Record#", kNumberWidth, true);
  put("EventID", kNumberWidth, true);
  if (table.paired) {
    put("Date [UTC]", table.date_width + table.time_width + 1, false);
  } else {
    put("Date", table.date_width, false);
    put("Time-UTC", table.time_width, false);
  }
  put("Level", kLevelWidth, false);
  if (columns.has_query_name) put("name", columns.query_name_width, true);
  if (table.is_evtx) put("Provider Name", columns.provider_width, false);
  for (std::size_t i = 0; i < columns.names.size(); ++i) {
    put(columns.names[i], WidthOf(columns, i), false);
  }
  WriteName(table, "event log", kLogWidth, false);
  WriteCharacter(table.cells, '\n');
}

void WriteTable(TableWriter& table, const EventRows& rows, std::span<const std::uint32_t> group,
                const TableColumns& columns) {
  WriteHeader(table, columns);
  MakeEmptyRow(table, columns);
  const ColumnSet* last = nullptr;
  const std::vector<std::uint32_t>* positions = nullptr;
  for (std::size_t i = 0; i < group.size(); ++i) {
    if (table.cells.sink->failed) return;
    FetchAhead(rows, group, i);
    const EventRecord& row = rows.rows[group[i]];
    if (row.columns != last) {
      last = row.columns;
      positions = last == nullptr ? nullptr : &columns.positions.find(last)->second;
    }
    WriteRow(table, columns, row, positions);
  }
}

// One table, or several where one would be mostly empty.
void WriteGroup(TableWriter& table, const EventRows& rows, std::span<const std::uint32_t> group,
                EmptyBound bound) {
  {
    const TableColumns columns = MakeTableColumns(rows, group, table.padded);
    if (!IsMostlyEmpty(rows, group, bound, columns.names.size())) {
      WriteTable(table, rows, group, columns);
      return;
    }
  }
  while (!group.empty() && !table.cells.sink->failed) {
    const auto part = group.first(RowsForATable(rows, group, bound));
    WriteTable(table, rows, part, MakeTableColumns(rows, part, table.padded));
    group = group.subspan(part.size());
  }
}

TableWriter MakeTableWriter(TextSink& out, const LogInfo& log, const RunOptions& options) {
  TableWriter table;
  table.cells = BeginCells(out);
  table.text_cleaner = MakeCellCleaner(options.separator_class, false);
  table.value_cleaner = MakeCellCleaner(options.separator_class, true);
  table.date_time = MakeDateTimeFormatter(options.date_format, options.time_format);
  table.between = MakeCellEnd(options.multiline_form ? "\n" : std::string_view(options.separator));
  table.row_end = MakeCellEnd("\n");
  table.separator = options.separator;
  table.padded = !options.delimited;
  table.paired = options.pair_datetime;
  table.blank_before_time = options.pad_separator;
  const char separator = options.separator_class.separator;
  table.cleans_all = options.complete && separator != ',' && separator != '|';
  table.is_evtx = log.is_evtx;
  table.date_width = CountCodePoints(options.date_format);
  table.time_width = CountCodePoints(options.time_format);
  table.log_name = DisplayName(log, options);
  return table;
}

}  // namespace

std::string_view LevelText(bool is_evtx, std::uint32_t level_or_type) {
  constexpr std::string_view kEvtxLevels[] = {"info", "crit", "error", "warn", "info"};
  if (is_evtx) return level_or_type < 5 ? kEvtxLevels[level_or_type] : "unk";
  switch (level_or_type) {
    case 0:
    case 4: return "info";
    case 1: return "error";
    case 2: return "warn";
    case 8: return "a-pass";
    case 10: return "a-fail";
    default: return "unk";
  }
}

JoinedCells JoinedForm(const RunOptions& options) {
  const SeparatorClass& separators = options.separator_class;
  const bool known = separators.separator == ',' || separators.separator == '|';
  const bool as_table =
      options.delimited && !options.multiline_form && !options.bodyfile_form && !options.l2t_form;
  if (!as_table || !known || separators.replacement == 0 ||
      options.separator != std::string_view(&separators.separator, 1)) {
    return {};
  }
  return {CellForm::kJoined, separators.separator, MakeCellCleaner(separators, true)};
}

void WriteTables(TextSink& out, const EventRows& rows, const LogInfo& log,
                 const RunOptions& options, bool grouped) {
  TableWriter table = MakeTableWriter(out, log, options);
  table.joined = rows.joined.form == CellForm::kJoined;
  RowNumbers order = OrderRows(rows);
  const RowGroups groups = grouped ? GroupRows(rows, order) : OneGroup(std::move(order));
  std::size_t begin = 0;
  for (const std::size_t end : groups.ends) {
    WriteGroup(table, rows, std::span(groups.order).subspan(begin, end - begin),
               {grouped ? std::size_t{64} : std::size_t{256}});
    if (grouped) WriteCharacter(table.cells, '\n');
    begin = end;
  }
  FinishCells(table.cells);
}

void WriteLogResults(TextSink& out, const EventRows& rows, const LogInfo& log,
                     const RunOptions& options, bool& header_pending) {
  if (rows.rows.empty()) return;
  if (options.bodyfile_form) {
    WriteBodyfile(out, rows, options, header_pending);
  } else if (options.l2t_form) {
    WriteLog2Timeline(out, rows, log, options, header_pending);
  } else {
    WriteTables(out, rows, log, options, !options.csvgen_form);
  }
}

}  // namespace tarnlex
