// The rows of one log, kept from the walk until they are written. They are what a run's memory goes
// into, so what many rows have is kept once: rows of one shape share their column names, rows of
// one layout the cells that are the same in all of them, and of a long cell that came before only
// its place is kept. A row's own cells lie in an arena, packed or, when all that is ever done with
// them is to write them between separators, joined. Nothing here knows which container a row is
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
#include <unordered_map>
#include <unordered_set>
#include <utility>
#include <vector>

#include "event/carving.h"
#include "event/recovery.h"
#include "output/cell_cleaner.h"
#include "output/repeated_cells.h"

namespace tarnlex {

// The column names of one shape of row: sorted, each once (the names of `dataItems`).
struct ColumnSet {
  std::vector<std::string_view> names;
  int provider_name = -1;  // position of "Provider Name", -1 without one
  int level = -1;          // position of "Level"
};

// A cell that all rows of a layout have, behind which a block may be read; `text` is null for one
// that each row has of its own.
struct FixedCell {
  const char* text = nullptr;
  std::uint32_t size = 0;
};

// Which cells rows share, and their texts.
struct RowLayout {
  std::vector<FixedCell> cells;  // one per column
  std::string texts;
};

// How a row's own cells lie in memory.
enum class CellForm : std::uint8_t {
  kPacked,  // each behind its length
  kJoined,  // as they will be written: cleaned, each followed by the separator
};

// One output row, filled from either container: a cache line, for there are millions of them. Its
// own cells stay valid until the collection that holds the row is cleared.
inline constexpr std::uint32_t kPackedCells = ~std::uint32_t{0};
struct alignas(64) EventRecord {
  std::uint64_t timeCreated = 0;  // FILETIME
  std::uint64_t eventId = 0;
  std::uint64_t eventRecordId = 0;
  const ColumnSet* columns = nullptr;
  const RowLayout* layout = nullptr;      // null: all cells are the row's own
  const char* dataItems = nullptr;        // these cells, in column order
  std::uint32_t dataSize = kPackedCells;  // of their texts together, at most, when they are joined
  std::uint32_t level = 0;                // EVTX level or EVT event type
  std::uint32_t queryIndex = 0;           // position of the query that took the record
  std::uint32_t provider = 0;             // see ProviderNumber
};
inline bool IsJoined(const EventRecord& row) { return row.dataSize != kPackedCells; }

// How joined cells look: cleaned, and each followed by the separator, so that they can be written
// as they lie. No cleaned text holds the separator; that is how cells are told apart.
struct JoinedCells {
  CellForm form = CellForm::kPacked;  // joined: as below, but for rows that are too large
  char separator = 0;
  CellCleaner cleaner = {};
};

// A packed cell is a 16-bit length and the text. A length of kLongCell says that the true length
// follows as a 32-bit number, one of kKnownCell that so do the length and the place of a text that
// another row has. Behind every packed cell at least kReadableBehind bytes may be read, so that
// writers can take whole blocks.
inline constexpr std::size_t kReadableBehind = 16;
inline constexpr std::uint16_t kLongCell = 0xFFFF;
inline constexpr std::uint16_t kKnownCell = 0xFFFE;
inline constexpr std::size_t kCellPrefix = sizeof(std::uint16_t);
inline constexpr std::size_t kLongCellPrefix = kCellPrefix + sizeof(std::uint32_t);

// The text of a packed cell that is long or known; `at` is behind its first number, and is moved
// behind the cell.
std::string_view ReadLongCell(const char*& at);
std::string_view ReadKnownCell(const char*& at);
inline std::string_view NextOwnCell(const char*& at) {
  std::uint16_t length;
  std::memcpy(&length, at, sizeof length);
  at += kCellPrefix;
  if (length >= kKnownCell) return length == kLongCell ? ReadLongCell(at) : ReadKnownCell(at);
  const std::string_view text(at, length);
  at += length;
  return text;
}

// Steps through the cells of a row whose own are packed; may be asked once per column, never more
// often.
struct CellReader {
  const char* at = nullptr;
  const FixedCell* fixed = nullptr;
};
inline CellReader ReaderOf(const EventRecord& row) {
  return {row.dataItems, row.layout ? row.layout->cells.data() : nullptr};
}
inline std::string_view NextCell(CellReader& reader) {
  if (reader.fixed) {
    const FixedCell& fixed = *reader.fixed++;
    if (fixed.text) return {fixed.text, fixed.size};
  }
  return NextOwnCell(reader.at);
}

// All cells of `row`, whose own are packed, by column position; `cells` is overwritten.
void ReadCells(const EventRecord& row, std::vector<std::string_view>& cells);

// The column of one name, -1 without it. Names are compared exactly, then, with `fold`, without
// regard to ASCII case.
int FindColumn(const ColumnSet& columns, std::string_view name, bool fold);

// The text of one named value of `row`, whose own cells are packed; false and a nullptr-data view
// when the row has no such column. Names are compared as FindColumn does it.
bool FindCell(const EventRecord& row, std::string_view name, bool fold, std::string_view& text);

// Memory for rows, laid out so that it can be had in large pages (see ExpectFilled).
struct FreeRowBytes {
  void operator()(char* bytes) const;
};
struct RowBytes {
  std::unique_ptr<char[], FreeRowBytes> bytes;
  std::size_t size = 0;  // kReadableBehind more are there
};

RowBytes MakeRowBytes(std::size_t size);

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
  RowBytes scratch;                                // a row that has no place in the blocks yet
  RepeatedCells repeated;                          // cells whose texts other rows may have
  TextSet texts;                                   // interned: column, query and provider names
  std::vector<std::string_view> query_names;       // by the query's position; see KeepQueryName
  std::vector<std::string_view> providers = {{}};  // by their numbers; the first is none
  std::unordered_map<std::string_view, std::uint32_t> provider_numbers;
  std::array<std::string_view, 64> recent = {};  // the interned texts last asked for, by hash
  std::vector<std::unique_ptr<ColumnSet>> column_sets;
  // Column sets by the hash of their names, then by the names.
  std::map<std::pair<std::size_t, std::vector<std::string_view>>, const ColumnSet*> sets_by_names;
  std::vector<std::unique_ptr<RowLayout>> layouts;
  std::size_t block_bytes = 0;
  // Roughly what all column sets and layouts take, and what others keep of them.
  std::size_t set_bytes = 0;
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

// A layout of rows with so many columns that share these cells; it lives as long as the collection.
struct FixedText {
  std::size_t column = 0;
  std::string text;
};
const RowLayout* AddLayout(EventRows& rows, std::size_t columns,
                           const std::vector<FixedText>& fixed);

// A copy of `text` that lives as long as the collection; equal texts are kept once.
std::string_view InternText(EventRows& rows, std::string_view text);

// The number by which rows name a provider; equal names have one, no name has 0.
std::uint32_t ProviderNumber(EventRows& rows, std::string_view name);
inline std::string_view ProviderOf(const EventRows& rows, const EventRecord& row) {
  return rows.providers[row.provider];
}

// Keeps the name of the query at a position for its rows.
void KeepQueryName(EventRows& rows, std::uint32_t position, std::string_view name);
inline std::string_view QueryNameOf(const EventRows& rows, const EventRecord& row) {
  return row.queryIndex < rows.query_names.size() ? rows.query_names[row.queryIndex]
                                                  : std::string_view();
}

// Bytes that are free in the last block, and another block with so many of them at least.
inline std::size_t Room(const EventRows& rows) {
  return static_cast<std::size_t>(rows.free_end - rows.free_at);
}
void AddBlock(EventRows& rows, std::size_t least);

// Sets room for so many rows aside, so that they need not move when there are more and more; what
// is not used costs next to nothing. More rows than that may come.
void ExpectRows(EventRows& rows, std::size_t count);

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

// Forgets all rows and gives their memory back but for the first block; column sets and interned
// texts stay.
void ClearRows(EventRows& rows);

}  // namespace tarnlex
