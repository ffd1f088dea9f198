#include "output/cell_cleaner.h"

#include <algorithm>
#include <cstring>

namespace tarnlex {
namespace {

constexpr std::size_t kSingleMark = 4;

void SetReplacement(CellCleaner& cleaner, int index, char from, char to) {
  std::memset(cleaner.from[index], from, kCellBlock);
  std::memset(cleaner.to[index], to, kCellBlock);
}

}  // namespace

CellCleaner MakeCellCleaner(const SeparatorClass& separators, bool pulled) {
  CellCleaner cleaner;
  SetReplacement(cleaner, 0, 0, 0);
  SetReplacement(cleaner, 1, 0, 0);
  std::memcpy(cleaner.character, separators.character, sizeof cleaner.character);
  const bool replaces = separators.separator != 0 && separators.replacement != 0;
  if (replaces) SetReplacement(cleaner, 0, separators.separator, separators.replacement);
  // A comma that became a semicolon is no longer there for the separator to replace.
  if (pulled) {
    const bool again = replaces && separators.separator == ';';
    if (separators.separator == ',') SetReplacement(cleaner, 0, 0, 0);
    SetReplacement(cleaner, 1, ',', again ? separators.replacement : ';');
  }
  return cleaner;
}

std::size_t MarkLineBreaks(const char* from, const char* end, std::size_t room, char*& out) {
  const char* const begin = from;
  const char* const room_end = out + room;
  do {
    // All but the last of a run of one kind stand for themselves; that one may be half of a pair.
    const char* const mark = from[0] == '\r' ? "[CR]" : "[LF]";
    const std::size_t most = std::min(static_cast<std::size_t>(room_end - out) / kSingleMark,
                                      static_cast<std::size_t>(end - from));
    std::size_t same = 1;
    while (same < most && from[same] == from[0]) ++same;
    for (std::size_t i = 0; i + 1 < same; ++i) {
      std::memcpy(out + i * kSingleMark, mark, kSingleMark);
    }
    from += same - 1;
    out += (same - 1) * kSingleMark;
    if (static_cast<std::size_t>(room_end - out) < kLineBreakRoom) break;
    from += MarkLineBreak(from, end, out);
  } while (from != end && IsLineBreak(*from) &&
           static_cast<std::size_t>(room_end - out) >= kLineBreakRoom);
  return static_cast<std::size_t>(from - begin);
}

char* ReplaceInPlace(const CellCleaner& cleaner, char* begin, char* end) {
  while (begin != end) {
    const std::size_t count = std::min(static_cast<std::size_t>(end - begin), kCellBlock);
    const std::size_t plain = CopyCellBlock(cleaner, begin, count, begin);
    begin += plain;
    if (plain < count) break;
  }
  return begin;
}

}  // namespace tarnlex
