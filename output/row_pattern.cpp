#include "output/row_pattern.h"

#include <cstring>
#include <string_view>

namespace tarnlex {
namespace {

RowPattern MakePattern(const TableColumns& columns, const EventRecord& row, char separator) {
  const std::vector<std::uint32_t>& positions = columns.positions.find(row.columns)->second;
  RowPattern pattern;
  pattern.whole = positions.size() == columns.names.size();
  const auto end_here = [&] {
    pattern.ends.push_back(static_cast<std::uint32_t>(pattern.text.size()));
  };
  std::size_t next = 0;
  bool in_stretch = false;
  for (std::size_t i = 0; i < positions.size(); ++i) {
    pattern.text.append(positions[i] - next, separator);
    next = positions[i] + std::size_t{1};
    const FixedCell fixed = row.layout ? row.layout->cells[i] : FixedCell{};
    if (fixed.text) {
      pattern.text.append(fixed.text, fixed.size).append(1, separator);
    } else if (!pattern.whole || !in_stretch) {
      end_here();
    }
    in_stretch = !fixed.text;
  }
  pattern.text.append(columns.names.size() - next, separator);
  end_here();
  pattern.text.append(kCellBlock, '\0');
  return pattern;
}

// Mostly a few characters, so that one block is all there is to copy. A block may be read and
// written behind them.
inline char* CopyBlocks(const char* from, std::size_t size, char* at) {
  std::memcpy(at, from, kCellBlock);
  if (size > kCellBlock) std::memcpy(at + kCellBlock, from + kCellBlock, size - kCellBlock);
  return at + size;
}

// Copies a cell and its separator; a block behind them is overwritten. Returns their end.
inline const char* CopyJoinedCell(char separator, const char* from, char*& out) {
  for (;;) {
    const std::size_t before = FindInCellBlock(separator, from);
    std::memcpy(out, from, kCellBlock);
    if (before < kCellBlock) {
      out += before + 1;
      return from + before + 1;
    }
    from += kCellBlock;
    out += kCellBlock;
  }
}

// Stretches go out as they lie.
char* CopyStretches(const RowPattern& pattern, const char* own, char* at) {
  const char* text = pattern.text.data();
  for (std::size_t i = 0; i + 1 < pattern.ends.size(); ++i) {
    const char* const end = pattern.text.data() + pattern.ends[i];
    at = CopyBlocks(text, static_cast<std::size_t>(end - text), at);
    text = end;
    JoinedPiece piece;
    do {
      piece = NextPiece(own);
      at = CopyBlocks(piece.cells.data(), piece.cells.size(), at);
    } while (!piece.is_last);
  }
  return at;
}

// Cells go out one by one, with empty ones in between where the row lacks columns.
char* CopyCells(const RowPattern& pattern, const char* own, char separator, char* at) {
  const char* const text = pattern.text.data();
  std::uint32_t begin = 0;
  const auto copy_text = [&](std::uint32_t end) {
    at = CopyBlocks(text + begin, end - begin, at);
    begin = end;
  };
  const std::uint32_t* end = pattern.ends.data();
  for (const std::uint32_t* const last = end + pattern.ends.size() - 1; end != last;) {
    const JoinedPiece piece = NextPiece(own);
    if (piece.is_known) {
      copy_text(*end++);
      at = CopyBlocks(piece.cells.data(), piece.cells.size(), at);
      continue;
    }
    const char* const cells_end = piece.cells.data() + piece.cells.size();
    for (const char* cell = piece.cells.data(); cell != cells_end;) {
      copy_text(*end++);
      cell = CopyJoinedCell(separator, cell, at);
    }
  }
  return at;
}

}  // namespace

const RowPattern& PatternOf(RowPatterns& patterns, const TableColumns& columns,
                            const EventRecord& row, char separator) {
  const void* const key = row.layout ? static_cast<const void*>(row.layout) : row.columns;
  if (key == patterns.last_layout) return *patterns.last;
  const auto [at, added] = patterns.by_layout.try_emplace(key);
  if (added) at->second = MakePattern(columns, row, separator);
  patterns.last_layout = key;
  return *(patterns.last = &at->second);
}

void WriteJoinedCells(CellWriter& out, const RowPattern& pattern, const EventRecord& row,
                      char separator) {
  NeedRoom(out, pattern.text.size() + row.dataSize + kCellBlock);
  const char* const own = row.dataItems;
  char* const at = pattern.whole ? CopyStretches(pattern, own, out.at)
                                 : CopyCells(pattern, own, separator, out.at);
  const std::size_t behind = pattern.ends.size() < 2 ? 0 : pattern.ends[pattern.ends.size() - 2];
  out.at = CopyBlocks(pattern.text.data() + behind, pattern.ends.back() - behind, at);
}

}  // namespace tarnlex
