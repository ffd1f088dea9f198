// The rows of one log, kept from the walk until they are written. A row's cell texts lie packed in
// an arena; rows of one shape share their column names. Nothing here knows which container a row is
// from.
#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace tarnlex {

// The column names of one shape of row: sorted, each once (the names of `dataItems`).
struct ColumnSet {
  std::vector<std::string_view> names;
  int provider_name = -1;  // position of "Provider Name", -1 without one
  int level = -1;          // position of "Level"
};

// One output row, filled from either container. The texts and `data_items` stay valid until the
// collection that holds the row is cleared.
struct EventRecord {
  std::uint32_t queryIndex = 0;   // position of the query that took the record
  std::uint32_t level = 0;        // EVTX level or EVT event type
  std::uint64_t timeCreated = 0;  // FILETIME
  std::uint64_t eventId = 0;
  std::uint64_t eventRecordId = 0;
  std::string_view providerName;
  std::string_view queryName;
  std::string_view queryLabel;
  const ColumnSet* columns = nullptr;
  const char* dataItems = nullptr;  // the packed cell texts, one per column, in column order
};

// Steps through the packed cells of a row.
struct CellReader {
  const char* at = nullptr;
};
std::string_view NextCell(CellReader& reader);

// All cells of `row` by column position; `cells` is overwritten.
void ReadCells(const EventRecord& row, std::vector<std::string_view>& cells);

// The text of one named value of `row`; nullptr-data view when the row has no such column. Names
// are compared exactly, or without regard to ASCII case with `fold`.
bool FindCell(const EventRecord& row, std::string_view name, bool fold, std::string_view& text);

// The ordered collection of one log's rows. Column sets and long-lived texts live in it too.
struct EventRows {
  std::vector<EventRecord> rows;  // in order of arrival until SortRows
  struct Block {
    std::unique_ptr<char[]> bytes;
    std::size_t size = 0;
  };
  std::vector<Block> blocks;
  char* free_at = nullptr;
  char* free_end = nullptr;
  std::map<std::string, std::string, std::less<>> texts;  // interned texts: query names, labels
  std::vector<std::unique_ptr<ColumnSet>> column_sets;
};

// A column set over `names`, which may come in any order and with doubles; the names are copied.
// `position_of` gets, for every name as given, its column, or -1 for a later double.
const ColumnSet* AddColumnSet(EventRows& rows, const std::vector<std::string_view>& names,
                              std::vector<int>& position_of);

// A copy of `text` that lives as long as the collection's content; equal texts are kept once.
std::string_view InternText(EventRows& rows, std::string_view text);

// Builds the cells of one row in place: BeginRow with an upper bound of all its text, then for
// every column in order BeginCell, text written behind it, EndCell; at last EndRow gives the cells
// to `row` and stores it.
struct RowBuilder {
  char* start = nullptr;
  char* cell = nullptr;
};
inline constexpr std::size_t kMaxCellOverhead = 8;  // bytes that a cell needs beside its text
RowBuilder BeginRow(EventRows& rows, std::size_t max_bytes);
char* BeginCell(RowBuilder& builder, char* at);      // returns where the text goes
char* EndCell(RowBuilder& builder, char* text_end);  // returns where the next cell begins
void EndRow(EventRows& rows, RowBuilder& builder, char* end, const EventRecord& row);

// Convenience for rows that are not made in the fast path.
void AddRow(EventRows& rows, const EventRecord& row, const std::vector<std::string_view>& cells);

// Orders by time created, then record identifier, then arrival.
void SortRows(EventRows& rows);

// Forgets all rows and gives their memory back but for the first block.
void ClearRows(EventRows& rows);

}  // namespace tarnlex
