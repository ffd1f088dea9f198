// Makes the cells of rows where they are kept.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string_view>
#include <vector>

#include "output/event_rows.h"
#include "output/joined_pieces.h"

namespace tarnlex {

// Builds the own cells of one row in place: BeginRow with an upper bound of all their text plus
// kMaxCellOverhead for every cell; then, first at builder.start, for every stretch between cells of
// the layout BeginStretch, for every cell BeginCell, text written behind it, EndCell, or
// one of AddKnownCell and its like, and EndStretch; at last EndRow gives the cells to `row` and
// stores it. Packed cells need no stretches. A row that is never ended takes no room. A cell may
// not reach 4 GiB. Up to kCellBlock bytes behind the bound may be overwritten.
struct RowBuilder {
  EventRows* rows = nullptr;
  char* start = nullptr;
  char* bound = nullptr;  // what is written ends here at most
  char* cell = nullptr;
  std::size_t open = 0;            // where the number before what is joined at present lies
  std::size_t closed = 0;          // the same of the piece before it
  std::size_t behind_one = 0;      // where what follows a cell of a value that is left out goes
  std::size_t behind_counted = 0;  // the same of such cells that are counted
  std::size_t made_later = 0;      // bytes of the cells that are not there yet, at most
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
  if (length >= kKnownCell) return EndLongCell(builder, text_end);
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

// Pieces of joined cells. All return where what comes next goes.
inline void WriteHead(const RowBuilder& builder, std::size_t piece, std::uint16_t head) {
  std::memcpy(builder.start + piece, &head, sizeof head);
}
inline char* OpenPiece(RowBuilder& builder, char* at) {
  builder.open = static_cast<std::size_t>(at - builder.start);
  return at + kPieceHead;
}

// Ends what is open at `at`, if there is something in it; the second is for more than a number
// before a piece can tell.
char* CloseLongPiece(RowBuilder& builder, char* at);
inline char* ClosePiece(RowBuilder& builder, char* at) {
  char* const cells = builder.start + builder.open + kPieceHead;
  if (at == cells) return cells - kPieceHead;
  const auto size = static_cast<std::size_t>(at - cells);
  if (size > kMostInHead) return CloseLongPiece(builder, at);
  builder.closed = builder.open;
  WriteHead(builder, builder.open, PieceHead(PieceKind::kCells, static_cast<std::uint32_t>(size)));
  return at;
}

// Adds a piece of which `value` is kept, and opens another.
template <typename Value>
char* AddPiece(RowBuilder& builder, char* at, std::uint16_t head, const Value& value) {
  at = ClosePiece(builder, at);
  builder.closed = static_cast<std::size_t>(at - builder.start);
  WriteHead(builder, builder.closed, head);
  std::memcpy(at + kPieceHead, &value, sizeof value);
  return OpenPiece(builder, at + kPieceHead + sizeof value);
}

inline char* BeginStretch(RowBuilder& builder, char* at) {
  if (builder.form == CellForm::kPacked) return at;
  builder.behind_counted = 0;
  return OpenPiece(builder, at);
}
inline char* EndStretch(RowBuilder& builder, char* at) {
  if (builder.form == CellForm::kPacked) return at;
  at = ClosePiece(builder, at);
  // Its number is little-endian.
  builder.start[builder.closed + 1] |= static_cast<char>(kLastPiece >> 8);
  return at;
}

// A cell that another row has; joined ones are no longer than kMostInHead with their separator.
char* AddPackedKnownCell(char* at, std::string_view text);
inline char* AddKnownCell(RowBuilder& builder, char* at, std::string_view text) {
  if (builder.form == CellForm::kPacked) return AddPackedKnownCell(at, text);
  builder.made_later += text.size() + 1;
  const auto size = static_cast<std::uint32_t>(text.size() + 1);
  return AddPiece(builder, at, PieceHead(PieceKind::kKnown, size), text.data());
}

// A joined cell whose text is made when the row goes out: of a hexadecimal number or an instant.
inline char* AddNumberCell(RowBuilder& builder, char* at, PieceKind kind, std::uint64_t number) {
  builder.made_later += kind == PieceKind::kHex ? kHexCell : kInstantCell;
  return AddPiece(builder, at, PieceHead(kind, 0), number);
}

// A joined cell of a value that is left out. One is as long as what says so; from the second in a
// row on they are counted.
char* AddUnresolvedCell(RowBuilder& builder, char* at);

void EndRow(EventRows& rows, RowBuilder& builder, char* end, const EventRecord& row);

// Convenience for rows that are not made in the fast path: one text per column of row.columns.
void AddRow(EventRows& rows, const EventRecord& row, const std::vector<std::string_view>& cells);

}  // namespace tarnlex
