#include "output/table.h"

#include <algorithm>
#include <cstring>
#include <span>
#include <utility>

#include "logs/text.h"
#include "output/bodyfile.h"
#include "output/cards.h"
#include "output/cell_writer.h"
#include "output/empty_cells.h"
#include "output/log2timeline.h"
#include "output/picked_table.h"
#include "output/row_order.h"
#include "output/row_pattern.h"
#include "output/table_cells.h"
#include "output/table_columns.h"

namespace tarnlex {
namespace {

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

void WriteValueCells(TableWriter& table, const TableColumns& columns, const EventRecord& row) {
  std::size_t next = 0;
  if (row.columns != nullptr) {
    CellReader reader = ReaderOf(row);
    for (const std::uint32_t column : columns.positions.find(row.columns)->second) {
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

// Where the row is from, in tables that say so.
void WritePlaceCells(TableWriter& table, const EventRows& rows, std::uint32_t number) {
  WriteRecovered(table, rows, number);
  Write(table.cells, table.between);
  WriteNumberCell(table, rows.places[number].file_offset);
  Write(table.cells, table.between);
}

void WriteRow(TableWriter& table, const TableColumns& columns, const EventRows& rows,
              std::uint32_t number, const RowPattern* pattern) {
  const EventRecord& row = rows.rows[number];
  WriteNumberCell(table, row.eventRecordId);
  Write(table.cells, table.between);
  WriteEventId(table, rows, number);
  Write(table.cells, table.between);
  WriteTimeCells(table, row.timeCreated);
  Write(table.cells, table.between);
  WriteLevelCell(table, row.level);
  Write(table.cells, table.between);
  if (columns.has_query_name) {
    WriteRepeatedCell(table, table.query_name_text, QueryNameOf(rows, row),
                      columns.query_name_width);
    Write(table.cells, table.between);
  }
  if (table.is_evtx) {
    WriteRepeatedCell(table, table.provider_text, ProviderOf(rows, row), columns.provider_width);
    Write(table.cells, table.between);
  }
  if (pattern) {
    WriteJoinedCells(table.cells, *pattern, row, table.separator.front());
  } else {
    WriteValueCells(table, columns, row);
  }
  if (rows.keeps_places) WritePlaceCells(table, rows, number);
  WriteLogName(table, rows, number, kLogWidth);
  Write(table.cells, table.row_end);
}

void WriteHeader(TableWriter& table, const TableColumns& columns, bool has_places) {
  const auto put = [&table](std::string_view name, std::size_t width, bool centred) {
    WriteName(table, name, width, centred);
    WriteVerbatim(table.cells, table.separator);
  };
  PaintHeader(table);
  put("Record#", kNumberWidth, true);
  put("EventID", kNumberWidth, true);
  if (table.paired) {
    put("Date [UTC]", PairedWidth(table), false);
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
  if (has_places) {
    put("Recovered", kRecoveredWidth, false);
    put("Offset", kNumberWidth, true);
  }
  WriteName(table, "event log", kLogWidth, false);
  PaintPlain(table);
  WriteCharacter(table.cells, '\n');
}

void WriteTable(TableWriter& table, const EventRows& rows, std::span<const std::uint32_t> group,
                const TableColumns& columns) {
  WriteHeader(table, columns, rows.keeps_places);
  MakeEmptyRow(table, columns);
  RowPatterns patterns;
  for (std::size_t i = 0; i < group.size(); ++i) {
    if (table.cells.sink->failed) return;
    FetchAhead(rows, group, i);
    const EventRecord& row = rows.rows[group[i]];
    const bool joined = IsJoined(row) && row.columns != nullptr;
    const RowPattern* const pattern =
        joined ? &PatternOf(patterns, columns, row, table.separator.front()) : nullptr;
    WriteRow(table, columns, rows, group[i], pattern);
  }
}

// One table, or several where one would be mostly empty.
void WriteGroup(TableWriter& table, const EventRows& rows, std::span<const std::uint32_t> group,
                EmptyBound bound, const RunOptions& options) {
  if (!options.columns.empty()) {
    WritePickedTable(table, rows, group, options.columns);
    return;
  }
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

}  // namespace

JoinedCells JoinedForm(const RunOptions& options) {
  const SeparatorClass& separators = options.separator_class;
  const bool known = separators.separator == ',' || separators.separator == '|';
  const bool as_table = options.delimited && !options.multiline_form && !options.bodyfile_form &&
                        !options.l2t_form && !options.cards_form && options.columns.empty();
  if (!as_table || !known || separators.replacement == 0 ||
      options.separator != std::string_view(&separators.separator, 1)) {
    return {};
  }
  return {CellForm::kJoined, separators.separator, MakeCellCleaner(separators, true)};
}

void WriteTables(TextSink& out, const EventRows& rows, const LogInfo& log,
                 const RunOptions& options, bool grouped) {
  TableWriter table = MakeTableWriter(out, log, options);
  RowNumbers order = OrderRows(rows);
  const RowGroups groups = grouped ? GroupRows(rows, order) : OneGroup(std::move(order));
  std::size_t begin = 0;
  for (const std::size_t end : groups.ends) {
    WriteGroup(table, rows, std::span(groups.order).subspan(begin, end - begin),
               {grouped ? std::size_t{64} : std::size_t{256}}, options);
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
  } else if (options.cards_form) {
    WriteCards(out, rows, log, options);
  } else {
    WriteTables(out, rows, log, options, !options.csvgen_form);
  }
}

}  // namespace tarnlex
