#include "output/picked_table.h"

#include <algorithm>
#include <string_view>

#include "logs/text.h"
#include "output/picked_columns.h"
#include "output/table_columns.h"

namespace tarnlex {
namespace {

// Behind a cell that is not there no block can be read.
std::size_t CharactersOf(std::string_view cell) {
  return cell.empty() ? 0 : CountCellCharacters(cell);
}

std::size_t FixedWidth(const TableWriter& table, ColumnKind kind) {
  switch (kind) {
    case ColumnKind::kRecord:
    case ColumnKind::kOffset:
    case ColumnKind::kEventId: return kNumberWidth;
    case ColumnKind::kRecovered: return kRecoveredWidth;
    case ColumnKind::kDate: return table.date_width;
    case ColumnKind::kTime: return table.time_width;
    case ColumnKind::kDateTime: return PairedWidth(table);
    case ColumnKind::kLevel: return kLevelWidth;
    case ColumnKind::kLog: return kLogWidth;
    default: return 0;
  }
}

std::size_t TextWidth(ColumnKind kind, const PickedRow& row, std::size_t column) {
  switch (kind) {
    case ColumnKind::kQueryName: return CountCodePoints(row.query_name);
    case ColumnKind::kProvider: return CountCodePoints(row.provider);
    case ColumnKind::kValue: return CharactersOf(PickedText(row, column));
    default: return 0;
  }
}

std::vector<std::size_t> Measure(const TableWriter& table, const EventRows& rows,
                                 std::span<const std::uint32_t> group,
                                 const PickedColumns& picked) {
  std::vector<std::size_t> widths(picked.columns.size(), 0);
  if (!table.padded) return widths;
  PickedRow read;
  for (std::size_t i = 0; i < group.size(); ++i) {
    FetchAhead(rows, group, i);
    ReadPickedRow(picked, rows, group[i], read);
    for (std::size_t column = 0; column < widths.size(); ++column) {
      widths[column] =
          std::max(widths[column], TextWidth(picked.columns[column].kind, read, column));
    }
  }
  for (std::size_t column = 0; column < widths.size(); ++column) {
    std::size_t& width = widths[column];
    if (width >= kWidestField) width = kWideFieldWidth;
    width = std::max({width, FixedWidth(table, picked.columns[column].kind),
                      CountCodePoints(picked.columns[column].name)});
  }
  return widths;
}

void WriteValueCell(TableWriter& table, std::string_view text, std::size_t width) {
  const std::size_t longer = WriteCleanedCell(table.cells, table.value_cleaner, text);
  if (table.padded) Pad(table, width, CharactersOf(text) + longer);
}

void WriteCell(TableWriter& table, const EventRows& rows, std::uint32_t number, ColumnKind kind,
               const PickedRow& read, std::size_t column, std::size_t width) {
  const EventRecord& row = *read.row;
  const auto time = [&] { return FormatDateTime(table.date_time, row.timeCreated); };
  switch (kind) {
    case ColumnKind::kRecord: WriteNumberCell(table, row.eventRecordId); break;
    case ColumnKind::kEventId: WriteEventId(table, rows, number); break;
    case ColumnKind::kDate: WriteDateCell(table, time()); break;
    case ColumnKind::kTime: WriteTimeCell(table, time()); break;
    case ColumnKind::kDateTime: WritePairedCell(table, time()); break;
    case ColumnKind::kLevel: WriteLevelCell(table, row.level); break;
    case ColumnKind::kQueryName:
      WriteRepeatedCell(table, table.query_name_text, read.query_name, width);
      break;
    case ColumnKind::kProvider:
      WriteRepeatedCell(table, table.provider_text, read.provider, width);
      break;
    case ColumnKind::kRecovered: WriteRecovered(table, rows, number); break;
    case ColumnKind::kOffset: WriteNumberCell(table, rows.places[number].file_offset); break;
    case ColumnKind::kLog: WriteLogName(table, rows, number, width); break;
    case ColumnKind::kValue: WriteValueCell(table, PickedText(read, column), width); break;
  }
}

void WritePickedHeader(TableWriter& table, const PickedColumns& picked,
                       const std::vector<std::size_t>& widths) {
  PaintHeader(table);
  for (std::size_t column = 0; column < widths.size(); ++column) {
    if (column > 0) WriteVerbatim(table.cells, table.separator);
    WriteName(table, picked.columns[column].name, widths[column], false);
  }
  PaintPlain(table);
  WriteCharacter(table.cells, '\n');
}

}  // namespace

void WritePickedTable(TableWriter& table, const EventRows& rows,
                      std::span<const std::uint32_t> group, const std::vector<std::string>& names) {
  const PickedColumns picked = PickColumns(rows, group, names, table.is_evtx, table.paired);
  const std::vector<std::size_t> widths = Measure(table, rows, group, picked);
  WritePickedHeader(table, picked, widths);
  PickedRow read;
  for (std::size_t i = 0; i < group.size(); ++i) {
    if (table.cells.sink->failed) return;
    FetchAhead(rows, group, i);
    ReadPickedRow(picked, rows, group[i], read);
    for (std::size_t column = 0; column < widths.size(); ++column) {
      if (column > 0) Write(table.cells, table.between);
      WriteCell(table, rows, group[i], picked.columns[column].kind, read, column, widths[column]);
    }
    Write(table.cells, table.row_end);
  }
}

}  // namespace tarnlex
