// The rows of one log, kept from the walk until they are written. A row's cell texts lie in an
// arena, packed or, when all that is ever done with them is to write them between separators,
// joined; rows of one shape share their column names. Nothing here knows which container a row is
// from.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <unordered_set>
#include <utility>
#include <vector>

#include "event/carving.h"
#include "event/recovery.h"
#include "output/cell_cleaner.h"

namespace tarnlex {

// The column names of one shape of row: sorted, each once (the names of `dataItems`).
struct ColumnSet {
  std::vector<std::string_view> names;
  int provider_name = -1;  // position of "Provider Name", -1 without one
  int level = -1;          // position of "Level"
};

// How the cells of a row lie in memory.
enum class CellForm : std::uint8_t {
  kPacked,  // each behind its length
  kJoined,  // as they will be written: cleaned, each followed by the separator
};

// One output row, filled from either container. The packed cells stay valid until the collection
// that holds the row is cleared; a row of a collection takes its texts from InternText.
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
  const char* dataItems = nullptr;  // the cell texts, one per column, in column order
  std::uint32_t dataSize = 0;       // of all of them together when they are joined
  CellForm form = CellForm::kPacked;
};

// How joined cells look: cleaned, and each followed by the separator, so that a row can be written
// as it lies. No cleaned text holds the separator; that is how cells are told apart.
struct JoinedCells {
  CellForm form = CellForm::kPacked;  // joined: as below, but for rows that are too large
  char separator = 0;
  CellCleaner cleaner = {};
};

// A packed cell is a 16-bit length and the text; a length of kLongCell says that the true length
// follows as a 32-bit number. Behind every packed cell at least kReadableBehind bytes may be read,
// so that writers can take whole blocks.
inline constexpr std::size_t kReadableBehind = 16;
inline constexpr std::uint16_t kLongCell = 0xFFFF;
inline constexpr std::size_t kCellPrefix = sizeof(std::uint16_t);
inline constexpr std::size_t kLongCellPrefix = kCellPrefix + sizeof(std::uint32_t);

// Steps through the packed cells of a row; may be asked once per column, never more often.
struct CellReader {
  const char* at = nullptr;
};
inline std::string_view NextCell(CellReader& reader) {
  std::uint16_t short_length;
  std::memcpy(&short_length, reader.at, sizeof short_length);
  reader.at += kCellPrefix;
  std::size_t length = short_length;
  if (short_length == kLongCell) {
    std::uint32_t long_length;
    std::memcpy(&long_length, reader.at, sizeof long_length);
    reader.at += sizeof long_length;
    length = long_length;
  }
  const std::string_view text(reader.at, length);
  reader.at += length;
  return text;
}

// All cells of `row`, which are packed, by column position; `cells` is overwritten.
void ReadCells(const EventRecord& row, std::vector<std::string_view>& cells);

// The column of one name, -1 without it. Names are compared exactly, then, with `fold`, without
// regard to ASCII case.
int FindColumn(const ColumnSet& columns, std::string_view name, bool fold);

// The text of one named value of `row`, whose cells are packed; false and a nullptr-data view when
// the row has no such column. Names are compared as FindColumn does it.
bool FindCell(const EventRecord& row, std::string_view name, bool fold, std::string_view& text);

// Memory for rows, laid out so that it can be had in large pages (see ExpectFilled).
struct FreeRowBytes {
  void operator()(char* bytes) const;
};
struct RowBytes {
  std::unique_ptr<char[], FreeRowBytes> bytes;
  std::size_t size = 0;  // kReadableBehind more are there
};

// Texts that stay where they are.
struct HashText {
  using is_transparent = void;
  std::size_t operator()(std::string_view text) const {
    return std::hash<std::string_view>{}(text);
  }
};
using TextSet = std::unordered_set<std::string, HashText, std::equal_to<>>;

// Where a row's record stands, and what is proved of one that was recovered.
struct RowPlace {
  Recovery recovery;
  std::uint64_t file_offset = 0;
  std::uint64_t source = kNoSource;  // in an image: where what the record was found in begins
};

// The ordered collection of one log's rows. Column sets and long-lived texts live in it too and
// stay as long as the collection itself, past ClearRows: a decoder may remember them for a whole
// log. Use a new collection for the next log.
struct EventRows {
  JoinedCells joined;             // set before the first row
  std::vector<EventRecord> rows;  // in order of arrival
  // The only columns whose cells are wanted, if not all are; set before the first row too.
  const std::vector<std::string>* wanted = nullptr;
  bool keeps_hosts = false;  // a timeline names the host of rows that have no column for it
  std::vector<std::string_view> hosts;  // of the first rows, interned; empty where there is none
  bool keeps_places = false;            // rows say where they are from
  std::vector<RowPlace> places;         // then, of every row
  std::vector<RowBytes> blocks;
  char* free_at = nullptr;
  char* free_end = nullptr;
  RowBytes scratch;                              // a row that has no place in the blocks yet
  TextSet texts;                                 // interned: column, query and provider names
  std::array<std::string_view, 64> recent = {};  // the interned texts last asked for, by hash
  std::vector<std::unique_ptr<ColumnSet>> column_sets;
  // Column sets by the hash of their names, then by the names.
  std::map<std::pair<std::size_t, std::vector<std::string_view>>, const ColumnSet*> sets_by_names;
  std::size_t block_bytes = 0;
  std::size_t set_bytes = 0;  // roughly what all column sets take, and what others keep of them
};

// Roughly the memory that a collection takes; cheap enough to ask for every row.
inline std::size_t MemoryOf(const EventRows& rows) {
  return rows.block_bytes + rows.set_bytes + rows.rows.size() * sizeof(EventRecord) +
         rows.hosts.size() * sizeof(std::string_view) + rows.places.size() * sizeof(RowPlace);
}

// Whether a row has to have a cell for the column: it is wanted, or the row takes what it says of
// itself from it.
bool KeepsColumn(const EventRows& rows, std::string_view name);

// A column set over `names`, which may come in any order and with doubles; the names are copied.
// Equal sets are one. `position_of` gets, for every name as given, its column, or -1 for a later
// double.
const ColumnSet* AddColumnSet(EventRows& rows, const std::vector<std::string_view>& names,
                              std::vector<int>& position_of);

// A copy of `text` that lives as long as the collection; equal texts are kept once.
std::string_view InternText(EventRows& rows, std::string_view text);

// Sets room for so many rows aside, so that they need not move when there are more and more; what
// is not used costs next to nothing. More rows than that may come.
void ExpectRows(EventRows& rows, std::size_t count);

// Builds the cells of one row in place: BeginRow with an upper bound of all its text plus
// kMaxCellOverhead for every cell, then for every column in order BeginCell (first at
// builder.start), text written behind it, EndCell; at last EndRow gives the cells to `row` and
// stores it. A row that is never ended takes no room. A cell may not reach 4 GiB. Up to kCellBlock
// bytes behind the bound may be overwritten.
struct RowBuilder {
  EventRows* rows = nullptr;
  char* start = nullptr;
  char* bound = nullptr;  // what is written ends here at most
  char* cell = nullptr;
  CellForm form = CellForm::kPacked;
};
inline constexpr std::size_t kMaxCellOverhead = 8;  // bytes that a cell needs beside its text

// Rows that may be longer are packed where others are joined: marks may make them four times as
// long, and only crafted records come near.
inline constexpr std::size_t kMostJoined = std::size_t{512} << 10;
RowBuilder BeginRow(EventRows& rows, std::size_t max_bytes);

// Returns where the text goes.
inline char* BeginCell(RowBuilder& builder, char* at) {
  builder.cell = at;
  return at + (builder.form == CellForm::kPacked ? kCellPrefix : 0);
}

// The rest of EndCell for texts that need more: a packed cell with a long text, and a joined cell
// with line breaks, from `stop` on not cleaned yet. Both return where the next cell begins.
char* EndLongCell(RowBuilder& builder, const char* text_end);
char* EndBrokenCell(RowBuilder& builder, const char* stop, const char* text_end);

// Ends a cell of digits and the like, with nothing in it that cleaning would touch. Returns where
// the next cell begins.
// In a joined row that is all there is to do, whatever the builder.
inline char* EndPlainCell(char* text_end, char separator) {
  *text_end = separator;
  return text_end + 1;
}
inline char* EndPlainCell(RowBuilder& builder, char* text_end) {
  if (builder.form == CellForm::kJoined) {
    return EndPlainCell(text_end, builder.rows->joined.separator);
  }
  const auto length = static_cast<std::size_t>(text_end - builder.cell) - kCellPrefix;
  if (length >= kLongCell) return EndLongCell(builder, text_end);
  const auto short_length = static_cast<std::uint16_t>(length);
  std::memcpy(builder.cell, &short_length, sizeof short_length);
  return text_end;
}

// The same for any cell.
inline char* EndCell(RowBuilder& builder, char* text_end) {
  if (builder.form == CellForm::kJoined) {
    char* const stop = ReplaceInPlace(builder.rows->joined.cleaner, builder.cell, text_end);
    if (stop != text_end) return EndBrokenCell(builder, stop, text_end);
  }
  return EndPlainCell(builder, text_end);
}

void EndRow(EventRows& rows, RowBuilder& builder, char* end, const EventRecord& row);

// Convenience for rows that are not made in the fast path: one text per column of row.columns.
void AddRow(EventRows& rows, const EventRecord& row, const std::vector<std::string_view>& cells);

// What is told of the row at a position where rows say where they are from: how it was recovered,
// "slack/all", and nothing of one that was not.
std::string RecoveryText(const EventRows& rows, std::uint32_t number);

// Where what the row's record was found in begins; kNoSource in a log, which is all there is.
inline std::uint64_t SourceOf(const EventRows& rows, std::uint32_t number) {
  return number < rows.places.size() ? rows.places[number].source : kNoSource;
}

// The name of the log, or of the image with the place that the row's record was found in.
inline std::string LogNameOf(const EventRows& rows, std::uint32_t number, const std::string& name) {
  const std::uint64_t source = SourceOf(rows, number);
  return source == kNoSource ? name : name + SourceText(source);
}

// Positions in EventRows::rows.
using RowNumbers = std::vector<std::uint32_t>;

// All rows by time created, then record identifier, then arrival. The rows stay where they are.
RowNumbers OrderRows(const EventRows& rows);

// Forgets all rows and gives their memory back but for the first block; column sets and interned
// texts stay.
void ClearRows(EventRows& rows);

}  // namespace tarnlex
