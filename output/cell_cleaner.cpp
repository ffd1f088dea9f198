#include "output/cell_cleaner.h"

#include <algorithm>
#include <cstring>

namespace tarnlex {
namespace {

void SetReplacement(CellCleaner& cleaner, int index, char from, char to) {
  std::memset(cleaner.from[index], from, kCellBlock);
  std::memset(cleaner.to[index], to, kCellBlock);
}

}  // namespace

CellCleaner MakeCellCleaner(const SeparatorClass& separators, bool pulled) {
  CellCleaner cleaner;
  SetReplacement(cleaner, 0, 0, 0);
  SetReplacement(cleaner, 1, 0, 0);
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

std::size_t MarkLineBreak(const char* from, const char* end, char*& out) {
  const bool pair = end - from > 1 && IsLineBreak(from[1]) && from[0] != from[1];
  const bool carriage = from[0] == '\r';
  const std::string_view mark = pair ? carriage ? "[CRLF]" : "[LFCR]" : carriage ? "[CR]" : "[LF]";
  std::memcpy(out, mark.data(), mark.size());
  out += mark.size();
  return pair ? 2 : 1;
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
