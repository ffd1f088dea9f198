#include "output/row_pattern.h"

#include <cstring>
#include <string_view>

#include "output/joined_pieces.h"

namespace tarnlex {
namespace {

void AddEnd(RowPattern& pattern) {
  pattern.ends.push_back(static_cast<std::uint32_t>(pattern.text.size()));
}

FixedCell FixedCellOf(const EventRecord& row, std::size_t column) {
  return row.layout ? row.layout->cells[column] : FixedCell{};
}

void AddText(RowPattern& pattern, const FixedCell& fixed, char separator) {
  pattern.text.append(fixed.text, fixed.size).append(1, separator);
}

void AddStretches(const EventRecord& row, char separator, RowPattern& pattern) {
  bool in_stretch = false;
  for (std::size_t i = 0; i < row.columns->names.size(); ++i) {
    const FixedCell fixed = FixedCellOf(row, i);
    if (fixed.text) AddText(pattern, fixed, separator);
    if (!fixed.text && !in_stretch) AddEnd(pattern);
    in_stretch = !fixed.text;
  }
  AddEnd(pattern);
}

void AddSteps(const EventRecord& row, const std::vector<std::uint32_t>& positions,
              std::size_t columns, char separator, RowPattern& pattern) {
  std::uint32_t next = 0;
  for (std::size_t i = 0; i < positions.size(); ++i) {
    const FixedCell fixed = FixedCellOf(row, i);
    if (fixed.text) AddText(pattern, fixed, separator);
    pattern.steps.push_back({positions[i] - next, fixed.text ? fixed.size + 1 : kOwnText});
    next = positions[i] + 1;
  }
  pattern.steps.push_back({static_cast<std::uint32_t>(columns) - next, 0});
}

RowPattern MakePattern(const TableColumns& columns, const EventRecord& row, char separator) {
  const std::vector<std::uint32_t>& positions = columns.positions.find(row.columns)->second;
  RowPattern pattern;
  if (positions.size() == columns.names.size()) {
    AddStretches(row, separator, pattern);
  } else {
    AddSteps(row, positions, columns.names.size(), separator, pattern);
  }
  pattern.room = pattern.text.size() + columns.names.size() + 2 * kCellBlock;
  pattern.text.append(kCellBlock, '\0');
  return pattern;
}

inline char* FillBlocks(char c, std::size_t count, char* at) {
  std::memset(at, c, kCellBlock);
  if (count > kCellBlock) std::memset(at + kCellBlock, c, count - kCellBlock);
  return at + count;
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

// Stretches go out piece by piece.
char* CopyStretches(const RowPattern& pattern, const char* own, char separator, char* at) {
  const char* text = pattern.text.data();
  for (std::size_t i = 0; i + 1 < pattern.ends.size(); ++i) {
    const char* const end = pattern.text.data() + pattern.ends[i];
    at = CopyBlocks(text, static_cast<std::size_t>(end - text), at);
    text = end;
    std::uint16_t head = 0;
    while ((head & kLastPiece) == 0) {
      head = TakePieceHead(own);
      at = WritePiece(head, own, separator, at);
    }
  }
  const char* const end = pattern.text.data() + pattern.ends.back();
  return CopyBlocks(text, static_cast<std::size_t>(end - text), at);
}

// A row's own cells that have not been written yet.
struct OwnCells {
  const char* at = nullptr;    // the next piece
  std::string_view cells;      // left of the last one,
  std::uint32_t left_out = 0;  // or so many of values that are left out
};

char* WriteNextCell(OwnCells& own, char separator, char* at) {
  if (own.left_out == 0 && own.cells.empty()) {
    const std::uint16_t head = TakePieceHead(own.at);
    switch (KindOfPiece(head)) {
      case PieceKind::kCells:
      case PieceKind::kLongCells: own.cells = TakeCells(head, own.at); break;
      case PieceKind::kUnresolved: own.left_out = SizeInHead(head); break;
      default: return WritePiece(head, own.at, separator, at);
    }
  }
  if (own.left_out > 0) {
    --own.left_out;
    return WriteUnresolvedCell(separator, at);
  }
  const char* const behind = CopyJoinedCell(separator, own.cells.data(), at);
  own.cells.remove_prefix(static_cast<std::size_t>(behind - own.cells.data()));
  return at;
}

// Cells go out one by one, with empty ones in between where the row lacks columns.
char* CopyCells(const RowPattern& pattern, const char* own_cells, char separator, char* at) {
  const char* text = pattern.text.data();
  OwnCells own{own_cells, {}, 0};
  for (const PatternStep& step : pattern.steps) {
    at = FillBlocks(separator, step.separators, at);
    if (step.text == kOwnText) {
      at = WriteNextCell(own, separator, at);
    } else {
      at = CopyBlocks(text, step.text, at);
      text += step.text;
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
  NeedRoom(out, pattern.room + row.dataSize);
  out.at = pattern.steps.empty() ? CopyStretches(pattern, row.dataItems, separator, out.at)
                                 : CopyCells(pattern, row.dataItems, separator, out.at);
}

}  // namespace tarnlex
