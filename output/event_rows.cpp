#include "output/event_rows.h"

#include <algorithm>
#include <functional>
#include <new>
#include <utility>

#include "logs/platform.h"
#include "logs/text.h"

namespace tarnlex {
namespace {

constexpr std::string_view kProviderColumn = "Provider Name";
constexpr std::string_view kLevelColumn = "Level";

// The first block suffices for most logs; those of a large log are made of large pages.
constexpr std::size_t kFirstBlockBytes = std::size_t{1} << 20;
constexpr std::size_t kBlockBytes = (std::size_t{16} << 20) - kReadableBehind;
constexpr std::align_val_t kRowAlignment{std::size_t{2} << 20};

// A row that may need more than this and does not fit into the current block is built aside, so
// that a generous bound does not leave much of a block unused.
constexpr std::size_t kLargeBound = std::size_t{32} << 10;

std::size_t HashNames(const std::vector<std::string_view>& names) {
  std::size_t hash = names.size();
  for (const std::string_view name : names) {
    hash = hash * 0x9E3779B97F4A7C15U + std::hash<std::string_view>{}(name);
  }
  return hash;
}

int PositionOf(const std::vector<std::string_view>& sorted, std::string_view name) {
  const auto at = std::lower_bound(sorted.begin(), sorted.end(), name);
  return at != sorted.end() && *at == name ? static_cast<int>(at - sorted.begin()) : -1;
}

const ColumnSet* StoreColumnSet(EventRows& rows, const std::vector<std::string_view>& names) {
  auto set = std::make_unique<ColumnSet>();
  set->names.reserve(names.size());
  for (const std::string_view name : names) set->names.push_back(InternText(rows, name));
  set->provider_name = PositionOf(set->names, kProviderColumn);
  set->level = PositionOf(set->names, kLevelColumn);
  constexpr std::size_t kBytesPerName = 2 * sizeof(std::string_view) + 64;
  rows.set_bytes += sizeof(ColumnSet) + kBytesPerName * names.size();
  rows.column_sets.push_back(std::move(set));
  return rows.column_sets.back().get();
}

RowBytes MakeRowBytes(std::size_t size) {
  RowBytes row_bytes;
  row_bytes.bytes.reset(
      static_cast<char*>(::operator new[](size + kReadableBehind, kRowAlignment)));
  row_bytes.size = size;
  return row_bytes;
}

void AddBlock(EventRows& rows, std::size_t least) {
  const std::size_t size = std::max(least, rows.blocks.empty() ? kFirstBlockBytes : kBlockBytes);
  rows.blocks.push_back(MakeRowBytes(size));
  if (size >= kBlockBytes) ExpectFilled(rows.blocks.back().bytes.get(), size + kReadableBehind);
  rows.free_at = rows.blocks.back().bytes.get();
  rows.free_end = rows.free_at + size;
  rows.block_bytes += size;
}

std::size_t Room(const EventRows& rows) {
  return static_cast<std::size_t>(rows.free_end - rows.free_at);
}

// Room for a large number of elements that will all be used.
template <typename T>
void ReserveFilled(std::vector<T>& list, std::size_t count) {
  if (count <= list.capacity()) return;
  list.reserve(count);
  ExpectFilled(list.data(), count * sizeof(T));
}

std::size_t OffsetIn(const RowBuilder& builder, const char* at) {
  return static_cast<std::size_t>(at - builder.start);
}

void WriteHead(const RowBuilder& builder, std::size_t piece, std::uint32_t head) {
  std::memcpy(builder.start + piece, &head, sizeof head);
}

// Of the piece that ends at `at`.
std::uint32_t OpenPieceSize(const RowBuilder& builder, const char* at) {
  return static_cast<std::uint32_t>(OffsetIn(builder, at) - builder.piece - kPieceHead);
}

// Each character of a line break becomes at most this much longer when it is marked.
constexpr std::size_t kLongerPerBreak = 3;

// Gives a row that is being built so many bytes more than were promised. It moves when they are not
// there; what lies behind `text_end` stays behind.
void GrowRow(RowBuilder& builder, const char* text_end, std::size_t longer) {
  EventRows& rows = *builder.rows;
  const bool in_block = builder.start == rows.free_at;
  const char* room_end = in_block ? rows.free_end : rows.scratch.bytes.get() + rows.scratch.size;
  if (static_cast<std::size_t>(room_end - builder.bound) < longer) {
    const std::size_t size = static_cast<std::size_t>(builder.bound - builder.start);
    RowBytes grown = MakeRowBytes(2 * (size + longer));
    char* const start = grown.bytes.get();
    std::memcpy(start, builder.start, static_cast<std::size_t>(text_end - builder.start));
    builder.cell = start + (builder.cell - builder.start);
    builder.start = start;
    builder.bound = start + size;
    rows.scratch = std::move(grown);
  }
  builder.bound += longer;
}

}  // namespace

void FreeRowBytes::operator()(char* bytes) const { ::operator delete[](bytes, kRowAlignment); }

std::string_view ReadLongCell(const char*& at) {
  std::uint32_t length;
  std::memcpy(&length, at, sizeof length);
  const std::string_view text(at + sizeof length, length);
  at += sizeof length + length;
  return text;
}

std::string_view ReadKnownCell(const char*& at) {
  std::uint32_t length;
  const char* text;
  std::memcpy(&length, at, sizeof length);
  std::memcpy(&text, at + sizeof length, sizeof text);
  at += sizeof length + sizeof text;
  return {text, length};
}

void ReadCells(const EventRecord& row, std::vector<std::string_view>& cells) {
  cells.clear();
  if (row.columns == nullptr) return;
  CellReader reader = ReaderOf(row);
  for (std::size_t i = 0; i < row.columns->names.size(); ++i) cells.push_back(NextCell(reader));
}

int FindColumn(const ColumnSet& columns, std::string_view name, bool fold) {
  const int position = PositionOf(columns.names, name);
  if (position >= 0 || !fold) return position;
  const auto at =
      std::find_if(columns.names.begin(), columns.names.end(),
                   [name](std::string_view candidate) { return EqualsNoCase(candidate, name); });
  return at != columns.names.end() ? static_cast<int>(at - columns.names.begin()) : -1;
}

bool FindCell(const EventRecord& row, std::string_view name, bool fold, std::string_view& text) {
  text = {};
  const int position = row.columns == nullptr ? -1 : FindColumn(*row.columns, name, fold);
  if (position < 0) return false;
  CellReader reader = ReaderOf(row);
  for (int i = 0; i <= position; ++i) text = NextCell(reader);
  return true;
}

bool KeepsColumn(const EventRows& rows, std::string_view name) {
  if (!rows.wanted || name == kProviderColumn || name == kLevelColumn) return true;
  return std::any_of(rows.wanted->begin(), rows.wanted->end(),
                     [name](const std::string& wanted) { return EqualsNoCase(wanted, name); });
}

const ColumnSet* AddColumnSet(EventRows& rows, const std::vector<std::string_view>& names,
                              std::vector<int>& position_of) {
  std::vector<std::pair<std::string_view, std::size_t>> places;
  places.reserve(names.size());
  for (const std::string_view name : names) places.emplace_back(name, places.size());
  std::sort(places.begin(), places.end());
  std::vector<std::string_view> sorted;
  position_of.assign(names.size(), -1);
  for (const auto& [name, place] : places) {
    if (!sorted.empty() && sorted.back() == name) continue;
    position_of[place] = static_cast<int>(sorted.size());
    sorted.push_back(name);
  }
  const std::pair key(HashNames(sorted), std::move(sorted));
  const auto known = rows.sets_by_names.find(key);
  if (known != rows.sets_by_names.end()) return known->second;
  const ColumnSet* set = StoreColumnSet(rows, key.second);
  rows.sets_by_names.emplace(std::pair(key.first, set->names), set);
  return set;
}

const RowLayout* AddLayout(EventRows& rows, std::size_t columns,
                           const std::vector<FixedText>& fixed) {
  auto layout = std::make_unique<RowLayout>();
  layout->cells.resize(columns);
  std::size_t size = kReadableBehind;
  for (const FixedText& each : fixed) size += each.text.size();
  layout->texts.reserve(size);  // so that texts stay where they are
  for (const FixedText& each : fixed) {
    const char* const text = layout->texts.data() + layout->texts.size();
    layout->cells[each.column] = {text, static_cast<std::uint32_t>(each.text.size())};
    layout->texts += each.text;
  }
  layout->texts.append(kReadableBehind, '\0');
  rows.set_bytes += sizeof(RowLayout) + size + columns * sizeof(FixedCell);
  rows.layouts.push_back(std::move(layout));
  return rows.layouts.back().get();
}

std::string_view InternText(EventRows& rows, std::string_view text) {
  if (text.empty()) return {};
  std::string_view& recent = rows.recent[std::hash<std::string_view>{}(text) % rows.recent.size()];
  if (recent == text) return recent;
  auto at = rows.texts.find(text);
  if (at == rows.texts.end()) at = rows.texts.emplace(text).first;
  return recent = *at;
}

std::uint32_t ProviderNumber(EventRows& rows, std::string_view name) {
  if (name.empty()) return 0;
  const auto known = rows.provider_numbers.find(name);
  if (known != rows.provider_numbers.end()) return known->second;
  const std::string_view kept = InternText(rows, name);
  const auto number = static_cast<std::uint32_t>(rows.providers.size());
  rows.providers.push_back(kept);
  rows.provider_numbers.emplace(kept, number);
  constexpr std::size_t kBytesPerName = 128;
  rows.set_bytes += kept.size() + kBytesPerName;
  return number;
}

void KeepQueryName(EventRows& rows, std::uint32_t position, std::string_view name) {
  if (rows.query_names.size() <= position) rows.query_names.resize(position + std::size_t{1});
  rows.query_names[position] = InternText(rows, name);
}

void ExpectRows(EventRows& rows, std::size_t count) { ReserveFilled(rows.rows, count); }

RowBuilder BeginRow(EventRows& rows, std::size_t max_bytes) {
  RowBuilder builder;
  builder.rows = &rows;
  builder.form = max_bytes <= kMostJoined ? rows.joined.form : CellForm::kPacked;
  if (max_bytes > Room(rows) && max_bytes > kLargeBound) {
    if (rows.scratch.size < max_bytes) rows.scratch = MakeRowBytes(max_bytes);
    builder.start = rows.scratch.bytes.get();
  } else {
    if (max_bytes > Room(rows)) AddBlock(rows, max_bytes);
    builder.start = rows.free_at;
  }
  builder.bound = builder.start + max_bytes;
  return builder;
}

char* EndLongCell(RowBuilder& builder, const char* text_end) {
  const auto length =
      static_cast<std::uint32_t>(static_cast<std::size_t>(text_end - builder.cell) - kCellPrefix);
  std::memmove(builder.cell + kLongCellPrefix, builder.cell + kCellPrefix, length);
  std::memcpy(builder.cell, &kLongCell, sizeof kLongCell);
  std::memcpy(builder.cell + kCellPrefix, &length, sizeof length);
  return builder.cell + kLongCellPrefix + length;
}

char* EndBrokenCell(RowBuilder& builder, const char* stop, const char* text_end) {
  const auto cleaned = static_cast<std::size_t>(stop - builder.start);
  const auto left = static_cast<std::size_t>(text_end - stop);
  const std::size_t longer =
      CountLineBreakCharacters(stop, text_end) * kLongerPerBreak + kCellBlock;
  GrowRow(builder, text_end, longer);
  // The rest of the text makes way for its longer self, which then never reaches what is still to
  // be read.
  char* out = builder.start + cleaned;
  std::memmove(out + longer, out, left);
  const char* from = out + longer;
  const char* const end = from + left;
  while (from != end) {
    const std::size_t count = std::min(static_cast<std::size_t>(end - from), kCellBlock);
    const std::size_t plain = CopyCellBlock(builder.rows->joined.cleaner, from, count, out);
    from += plain;
    out += plain;
    if (plain == count) continue;
    // As far apart as both are, the marks do not reach what is still to be read.
    from += MarkLineBreaks(from, end, static_cast<std::size_t>(from - out), out);
  }
  return EndPlainCell(builder, out);
}

char* BeginStretch(RowBuilder& builder, char* at) {
  if (builder.form == CellForm::kPacked) return at;
  builder.piece = OffsetIn(builder, at);
  builder.has_known = false;
  return at + kPieceHead;
}

char* EndStretch(RowBuilder& builder, char* at) {
  if (builder.form == CellForm::kPacked) return at;
  const std::uint32_t size = OpenPieceSize(builder, at);
  if (size > 0 || !builder.has_known) {
    WriteHead(builder, builder.piece, size | kLastPiece);
    return at;
  }
  // The known piece before it is the last.
  std::uint32_t head;
  std::memcpy(&head, builder.start + builder.known, sizeof head);
  WriteHead(builder, builder.known, head | kLastPiece);
  return builder.start + builder.piece;
}

char* AddKnownCell(RowBuilder& builder, char* at, std::string_view text) {
  builder.known_text += text.size() + 1;
  const char* const place = text.data();
  if (builder.form == CellForm::kPacked) {
    const auto length = static_cast<std::uint32_t>(text.size());
    std::memcpy(at, &kKnownCell, sizeof kKnownCell);
    std::memcpy(at + kCellPrefix, &length, sizeof length);
    std::memcpy(at + kLongCellPrefix, &place, sizeof place);
    return at + kLongCellPrefix + sizeof place;
  }
  const std::uint32_t size = OpenPieceSize(builder, at);
  if (size == 0) at -= kPieceHead;
  if (size > 0) WriteHead(builder, builder.piece, size);
  builder.known = OffsetIn(builder, at);
  builder.has_known = true;
  WriteHead(builder, builder.known, static_cast<std::uint32_t>(text.size() + 1) | kKnownPiece);
  std::memcpy(at + kPieceHead, &place, sizeof place);
  at += kPieceHead + sizeof place;
  builder.piece = OffsetIn(builder, at);
  return at + kPieceHead;
}

void EndRow(EventRows& rows, RowBuilder& builder, char* end, const EventRecord& row) {
  const auto size = static_cast<std::size_t>(end - builder.start);
  char* place = builder.start;
  if (place == rows.free_at) {
    rows.free_at = end;
  } else if (size > Room(rows) && size > rows.scratch.size / 2) {
    // What was built aside and is large stays where it is.
    rows.block_bytes += rows.scratch.size;
    rows.blocks.push_back(std::exchange(rows.scratch, {}));
  } else {
    if (size > Room(rows)) AddBlock(rows, size);
    place = rows.free_at;
    if (size > 0) std::memcpy(place, builder.start, size);
    rows.free_at += size;
  }
  rows.rows.push_back(row);
  EventRecord& added = rows.rows.back();
  added.dataItems = place;
  const bool joined = builder.form == CellForm::kJoined;
  added.dataSize = joined ? static_cast<std::uint32_t>(size + builder.known_text) : kPackedCells;
  PlaceRepeated(rows.repeated, place);
}

void AddRow(EventRows& rows, const EventRecord& row, const std::vector<std::string_view>& cells) {
  std::size_t max_bytes = 0;
  for (const std::string_view cell : cells) max_bytes += cell.size() + kMaxCellOverhead;
  RowBuilder builder = BeginRow(rows, max_bytes);
  char* at = cells.empty() ? builder.start : BeginStretch(builder, builder.start);
  for (const std::string_view cell : cells) {
    char* text = BeginCell(builder, at);
    if (!cell.empty()) std::memcpy(text, cell.data(), cell.size());
    at = EndCell(builder, text + cell.size());
  }
  EndRow(rows, builder, cells.empty() ? at : EndStretch(builder, at), row);
}

std::string RecoveryText(const EventRows& rows, std::uint32_t number) {
  if (number >= rows.places.size() || !IsRecovered(rows.places[number].recovery)) return {};
  const Recovery& recovery = rows.places[number].recovery;
  return std::string(NameOf(recovery.from)).append("/").append(NameOf(recovery.checked));
}

void ClearRows(EventRows& rows) {
  std::vector<EventRecord>().swap(rows.rows);
  rows.hosts.clear();
  rows.places.clear();
  ForgetRepeated(rows.repeated);
  rows.scratch = {};
  if (rows.blocks.empty()) return;
  rows.blocks.resize(1);
  rows.block_bytes = rows.blocks.front().size;
  rows.free_at = rows.blocks.front().bytes.get();
  rows.free_end = rows.free_at + rows.blocks.front().size;
}

}  // namespace tarnlex
