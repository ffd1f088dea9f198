// How the joined cells of a row lie in memory. They make up stretches: those of a row between two
// cells that its layout has. A stretch consists of pieces, each behind a 16-bit number that says
// what it is. Cells lie in it as they will be written; of some there is only what their text is
// made of when the row goes out, as that is much smaller.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string_view>

#include "event/number_text.h"
#include "logs/text.h"

namespace tarnlex {

enum class PieceKind : std::uint8_t {
  kCells,       // so many bytes of cells, each with its separator
  kLongCells,   // the same, of more bytes; their number follows
  kKnown,       // a cell of so many bytes, the separator included; where it lies follows
  kUnresolved,  // so many cells of values that are left out
  kHex,         // a cell with a 64-bit number
  kInstant,     // a cell with a FILETIME
};

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

// Writes the cell of a value that is left out, with the separator; returns its end.
inline constexpr std::size_t kUnresolvedCell = kUnresolved.size() + 1;
inline char* WriteUnresolvedCell(char separator, char* out) {
  std::memcpy(out, kUnresolved.data(), kUnresolved.size());
  out[kUnresolved.size()] = separator;
  return out + kUnresolvedCell;
}

// Reads what lies at `at`, which is moved behind it.
template <typename T>
T TakeNumber(const char*& at) {
  T number;
  std::memcpy(&number, at, sizeof number);
  at += sizeof number;
  return number;
}
inline std::uint16_t TakePieceHead(const char*& at) { return TakeNumber<std::uint16_t>(at); }

// The cells of a piece that has them; its head has been taken.
inline std::string_view TakeCells(std::uint16_t head, const char*& at) {
  const bool is_long = KindOfPiece(head) == PieceKind::kLongCells;
  const std::size_t size = is_long ? TakeNumber<std::uint32_t>(at) : SizeInHead(head);
  const std::string_view cells(at, size);
  at += size;
  return cells;
}

// Writes the cell of the 64-bit number at `at`, which is moved behind it, with the separator;
// returns the cell's end.
template <NumberWriter kWrite>
char* WriteNumberCell(const char*& at, char separator, char* out) {
  out = kWrite(reinterpret_cast<const std::uint8_t*>(at), out);
  at += sizeof(std::uint64_t);
  *out = separator;
  return out + 1;
}

// Writes all cells of a piece, whose head has been taken; returns their end. Behind the piece a
// block may be read (see CopyPadded), and behind the cells one be overwritten.
inline char* WritePiece(std::uint16_t head, const char*& at, char separator, char* out) {
  switch (KindOfPiece(head)) {
    case PieceKind::kCells:
    case PieceKind::kLongCells: return CopyPadded(TakeCells(head, at), out);
    case PieceKind::kKnown: return CopyPadded({TakeNumber<const char*>(at), SizeInHead(head)}, out);
    case PieceKind::kUnresolved:
      for (std::uint32_t i = 0; i < SizeInHead(head); ++i) {
        out = WriteUnresolvedCell(separator, out);
      }
      return out;
    case PieceKind::kHex: return WriteNumberCell<WriteHexInt64>(at, separator, out);
    case PieceKind::kInstant: return WriteNumberCell<WriteFiletime>(at, separator, out);
  }
  return out;
}

}  // namespace tarnlex
