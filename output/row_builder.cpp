#include "output/row_builder.h"

#include <algorithm>
#include <utility>

#include "logs/text.h"

namespace tarnlex {
namespace {

// A row that may need more than this and does not fit into the current block is built aside, so
// that a generous bound does not leave much of a block unused.
constexpr std::size_t kLargeBound = std::size_t{32} << 10;

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

char* CloseLongPiece(RowBuilder& builder, char* at) {
  constexpr std::size_t kLonger = kLongPieceHead - kPieceHead;
  char* const cells = builder.start + builder.open + kPieceHead;
  const auto size = static_cast<std::uint32_t>(at - cells);
  std::memmove(cells + kLonger, cells, size);
  std::memcpy(cells, &size, sizeof size);
  MoveUnplaced(builder.rows->repeated, builder.open, kLonger);
  builder.closed = builder.open;
  WriteHead(builder, builder.open, PieceHead(PieceKind::kLongCells, 0));
  return at + kLonger;
}

char* AddPackedKnownCell(char* at, std::string_view text) {
  const char* const place = text.data();
  const auto length = static_cast<std::uint32_t>(text.size());
  std::memcpy(at, &kKnownCell, sizeof kKnownCell);
  std::memcpy(at + kCellPrefix, &length, sizeof length);
  std::memcpy(at + kLongCellPrefix, &place, sizeof place);
  return at + kLongCellPrefix + sizeof place;
}

char* AddUnresolvedCell(RowBuilder& builder, char* at) {
  builder.made_later += kUnresolvedCell;
  const auto offset = static_cast<std::size_t>(at - builder.start);
  if (offset == builder.behind_counted) {
    std::uint16_t head;
    std::memcpy(&head, builder.start + builder.closed, sizeof head);
    if (SizeInHead(head) < kMostInHead) {
      WriteHead(builder, builder.closed, static_cast<std::uint16_t>(head + 1));
      return at;
    }
  }
  if (offset == builder.behind_one) {
    at = ClosePiece(builder, at - kUnresolvedCell);
    builder.closed = static_cast<std::size_t>(at - builder.start);
    WriteHead(builder, builder.closed, PieceHead(PieceKind::kUnresolved, 2));
    at = OpenPiece(builder, at + kPieceHead);
    builder.behind_counted = static_cast<std::size_t>(at - builder.start);
    builder.behind_one = 0;
    return at;
  }
  builder.behind_one = offset + kUnresolvedCell;
  return WriteUnresolvedCell(builder.rows->joined.separator, at);
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
  added.dataSize = joined ? static_cast<std::uint32_t>(size + builder.made_later) : kPackedCells;
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

}  // namespace tarnlex
