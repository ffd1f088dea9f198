// How the joined cells of a row lie in memory. They make up stretches: those of a row between two
// cells that its layout has. A stretch consists of pieces, each behind a 16-bit number that says
// what it is. Cells lie in it as they will be written; of some there is only what their text is
// made of when the row goes out, as that is much smaller.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string_view>

namespace tarnlex {

enum class PieceKind : std::uint8_t {
  kCells,       // so many bytes of cells, each with its separator
  kLongCells,   // the same, of more bytes; their number follows
  kKnown,       // a cell of so many bytes, the separator included; where it lies follows
  kUnresolved,  // so many cells of values that are left out
  kHex,         // a cell with a 64-bit number
  kInstant,     // a cell with a FILETIME
};
inline constexpr std::size_t kPieceKinds = 6;

// The text of a value that an optional substitution leaves out.
inline constexpr std::string_view kUnresolved = "[null]";

// Bytes of the cells of a hexadecimal number and, at most, of an instant.
inline constexpr std::size_t kHexCell = 19;
inline constexpr std::size_t kInstantCell = 33;

// The number before a piece: its kind, its size or how many cells it is, and whether it is the last
// of its stretch.
inline constexpr std::size_t kPieceHead = sizeof(std::uint16_t);
inline constexpr std::size_t kLongPieceHead = kPieceHead + sizeof(std::uint32_t);
inline constexpr std::uint32_t kMostInHead = 0xFFF;
inline constexpr std::uint16_t kLastPiece = 0x8000;
inline std::uint16_t PieceHead(PieceKind kind, std::uint32_t size) {
  return static_cast<std::uint16_t>(static_cast<std::uint32_t>(kind) << 12 | size);
}
inline PieceKind KindOfPiece(std::uint16_t head) { return static_cast<PieceKind>(head >> 12 & 7); }
inline std::uint32_t SizeInHead(std::uint16_t head) { return head & kMostInHead; }

struct JoinedPiece {
  PieceKind kind = PieceKind::kCells;
  bool is_last = false;
  std::uint32_t count = 0;   // of values that are left out
  std::uint64_t number = 0;  // or the instant
  std::string_view cells;    // of the other kinds
};

// Reads a piece that a row was given, and moves `at` behind it.
inline JoinedPiece NextPiece(const char*& at) {
  std::uint16_t head;
  std::memcpy(&head, at, sizeof head);
  at += sizeof head;
  JoinedPiece piece{KindOfPiece(head), (head & kLastPiece) != 0, 0, 0, {}};
  std::uint32_t size = SizeInHead(head);
  switch (piece.kind) {
    case PieceKind::kUnresolved: piece.count = size; return piece;
    case PieceKind::kHex:
    case PieceKind::kInstant:
      std::memcpy(&piece.number, at, sizeof piece.number);
      at += sizeof piece.number;
      return piece;
    case PieceKind::kKnown: {
      const char* cell;
      std::memcpy(&cell, at, sizeof cell);
      at += sizeof cell;
      piece.cells = {cell, size};
      return piece;
    }
    case PieceKind::kLongCells:
      std::memcpy(&size, at, sizeof size);
      at += sizeof size;
      break;
    case PieceKind::kCells: break;
  }
  piece.cells = {at, size};
  at += size;
  return piece;
}

// Write the cell of a piece that has only what it is made of, with the separator; a block behind it
// may be overwritten. Return its end.
inline constexpr std::size_t kUnresolvedCell = kUnresolved.size() + 1;
inline char* WriteUnresolvedCell(char separator, char* out) {
  std::memcpy(out, kUnresolved.data(), kUnresolved.size());
  out[kUnresolved.size()] = separator;
  return out + kUnresolvedCell;
}
char* WriteHexCell(std::uint64_t number, char separator, char* out);
char* WriteInstantCell(std::uint64_t filetime, char separator, char* out);

}  // namespace tarnlex
