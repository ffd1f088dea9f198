#include "output/table_cells.h"

#include <algorithm>

#include "logs/text.h"
#include "output/display_name.h"
#include "output/level.h"

namespace tarnlex {
namespace {

CellEnd MakeCellEnd(std::string_view text) {
  CellEnd end;
  end.whole = text;
  std::memcpy(end.block, text.data(), std::min(text.size(), sizeof end.block));
  return end;
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

void PaintCells(TableWriter& table, std::string_view code) {
  if (!table.painted) return;
  FinishCells(table.cells);
  Paint(*table.cells.sink, code);
  table.cells = BeginCells(*table.cells.sink);
}

void MakeTimeCells(TableWriter& table, std::uint64_t filetime) {
  const DateTimeText text = FormatDateTime(table.date_time, filetime);
  if (table.paired) {
    WritePairedCell(table, text);
    return;
  }
  WriteDateCell(table, text);
  Write(table.cells, table.between);
  WriteTimeCell(table, text);
}

}  // namespace

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
  table.painted = table.padded && out.paint;
  table.paired = options.pair_datetime;
  table.blank_before_time = options.pad_separator;
  const char separator = options.separator_class.separator;
  table.cleans_all = options.complete && separator != ',' && separator != '|';
  table.is_evtx = log.is_evtx;
  table.date_width = CountCodePoints(options.date_format);
  table.time_width = CountCodePoints(options.time_format);
  table.log_name = table.log_cell = DisplayName(log, options);
  return table;
}

void WriteDateCell(TableWriter& table, const DateTimeText& text) {
  WriteDate(table, text.date);
  Pad(table, table.date_width, text.date.size());
}

void WriteTimeCell(TableWriter& table, const DateTimeText& text) {
  if (table.blank_before_time) WriteCharacter(table.cells, ' ');
  WriteOwnText(table, text.time);
  Pad(table, table.time_width, text.time.size());
}

void WritePairedCell(TableWriter& table, const DateTimeText& text) {
  WriteDate(table, text.date);
  WriteCharacter(table.cells, ' ');
  WriteOwnText(table, text.time);
  Pad(table, PairedWidth(table), text.date.size() + text.time.size() + 1);
}

void WriteTimeCells(TableWriter& table, std::uint64_t filetime) {
  RepeatedTime& times = table.times;
  if (!times.cells.empty() && times.filetime == filetime) {
    WritePadded(table.cells, times.cells);
    return;
  }
  // More than the cells take, unless the separator is long.
  constexpr std::size_t kRoom = 4096;
  NeedRoom(table.cells, kRoom);
  const char* const begin = table.cells.at;
  MakeTimeCells(table, filetime);
  if (table.between.whole.size() > kCellBlock) return;
  times.filetime = filetime;
  times.cells.assign(begin, static_cast<const char*>(table.cells.at)).append(kCopyBlock, '\0');
}

void Repeat(const CellCleaner* cleaner, std::string_view text, RepeatedText& repeated) {
  repeated.source = text;
  repeated.cleaned = cleaner ? Cleaned(*cleaner, text) : std::string(text);
  repeated.characters = CountCodePoints(repeated.cleaned);
  repeated.cleaned.append(kCopyBlock, '\0');
}

void WriteLevelCell(TableWriter& table, std::uint32_t level_or_type) {
  const std::string_view level = LevelText(table.is_evtx, level_or_type);
  const std::string_view color = table.painted ? LevelColor(level) : std::string_view();
  if (!color.empty()) {
    PaintCells(table, color);
    WriteOwnText(table, level);
    PaintCells(table, kNoColor);
    Pad(table, kLevelWidth, level.size());
    return;
  }
  WriteRepeatedCell(table, table.cleans_all ? &table.text_cleaner : nullptr, table.level_text,
                    level, kLevelWidth);
}

void WriteName(TableWriter& table, std::string_view name, std::size_t width, bool centred) {
  const std::size_t characters = CountCodePoints(name);
  const std::size_t spare = table.padded && width > characters ? width - characters : 0;
  const std::size_t before = centred && spare > 1 ? spare / 2 : 0;
  WriteBlanks(table.cells, before);
  const std::size_t longer = WriteCleaned(table.cells, table.text_cleaner, name);
  Pad(table, width, before + characters + longer);
}

void PaintHeader(TableWriter& table) { PaintCells(table, kHeaderColor); }
void PaintPlain(TableWriter& table) { PaintCells(table, kNoColor); }

void WriteLogName(TableWriter& table, const EventRows& rows, std::uint32_t number,
                  std::size_t width) {
  const std::uint64_t source = SourceOf(rows, number);
  if (source != table.log_source) {
    table.log_source = source;
    table.log_cell = LogNameOf(rows, number, table.log_name);
    table.log_name_text = {};
  }
  WriteRepeatedCell(table, table.log_name_text, table.log_cell, width);
}

void WriteRecovered(TableWriter& table, const EventRows& rows, std::uint32_t number) {
  const std::string recovered = RecoveryText(rows, number);
  WriteOwnText(table, recovered);
  Pad(table, kRecoveredWidth, recovered.size());
}

}  // namespace tarnlex
