#include "output/cell_writer.h"

#include <algorithm>
#include <cstring>

#include "logs/text.h"

namespace tarnlex {
namespace {

// Room that cleaning one block and one line break may take, block stores included.
constexpr std::size_t kStepRoom = 2 * kCellBlock;

// How much room a long text asks for at a time.
constexpr std::size_t kMostRoom = std::size_t{1} << 16;

// The last characters of a text behind which nothing may be read.
const char* CopyLast(const char* from, std::size_t count, char (&last)[kCellBlock]) {
  std::memset(last, ' ', kCellBlock);
  std::memcpy(last, from, count);
  return last;
}

template <bool kReadBehind>
std::size_t CleanBytes(CellWriter& writer, const CellCleaner& cleaner, std::string_view text) {
  const char* from = text.data();
  const char* const end = from + text.size();
  std::size_t longer = 0;
  while (from != end) {
    const auto left = static_cast<std::size_t>(end - from);
    if (static_cast<std::size_t>(writer.end - writer.at) < kStepRoom) {
      MakeRoom(writer, std::min(left, kMostRoom) + kStepRoom);
    }
    const std::size_t count = std::min(left, kCellBlock);
    const char* block = from;
    char last[kCellBlock];
    if (!kReadBehind && count < kCellBlock) block = CopyLast(from, count, last);
    const std::size_t plain = CopyCellBlock(cleaner, block, count, writer.at);
    from += plain;
    writer.at += plain;
    if (plain == count) continue;
    const char* const mark = writer.at;
    const std::size_t length =
        MarkLineBreaks(from, end, static_cast<std::size_t>(writer.end - writer.at), writer.at);
    from += length;
    longer += static_cast<std::size_t>(writer.at - mark) - length;
  }
  return longer;
}

// A separator of several bytes is one character, so that a blank for it changes no width.
template <bool kReadBehind>
std::size_t Clean(CellWriter& writer, const CellCleaner& cleaner, std::string_view text) {
  if (cleaner.character[0] == 0) return CleanBytes<kReadBehind>(writer, cleaner, text);
  const std::string_view separator = cleaner.character;
  std::size_t longer = 0;
  for (std::size_t at; (at = text.find(separator)) != std::string_view::npos;) {
    longer += CleanBytes<kReadBehind>(writer, cleaner, text.substr(0, at));
    WriteCharacter(writer, ' ');
    text.remove_prefix(at + separator.size());
  }
  return longer + CleanBytes<kReadBehind>(writer, cleaner, text);
}

}  // namespace

CellWriter BeginCells(TextSink& sink) {
  char* at = Reserve(sink, kStepRoom);
  return {&sink, at, sink.buffer.get() + sink.capacity};
}

void FinishCells(CellWriter& writer) { Commit(*writer.sink, writer.at); }

void MakeRoom(CellWriter& writer, std::size_t size) {
  Commit(*writer.sink, writer.at);
  writer.at = Reserve(*writer.sink, size);
  writer.end = writer.sink->buffer.get() + writer.sink->capacity;
}

void WriteVerbatim(CellWriter& writer, std::string_view text) {
  NeedRoom(writer, text.size());
  if (!text.empty()) std::memcpy(writer.at, text.data(), text.size());
  writer.at += text.size();
}

void WriteBlanks(CellWriter& writer, std::size_t count) {
  NeedRoom(writer, count);
  std::memset(writer.at, ' ', count);
  writer.at += count;
}

void WriteNumber(CellWriter& writer, std::uint64_t number) {
  NeedRoom(writer, 20);
  writer.at = WriteDecimal(number, writer.at);
}

std::size_t WriteCleaned(CellWriter& writer, const CellCleaner& cleaner, std::string_view text) {
  return Clean<false>(writer, cleaner, text);
}

std::size_t WriteCleanedCell(CellWriter& writer, const CellCleaner& cleaner,
                             std::string_view text) {
  return Clean<true>(writer, cleaner, text);
}

std::string Cleaned(const CellCleaner& cleaner, std::string_view text) {
  std::string cleaned;
  TextSink sink = MakeStringSink(cleaned);
  CellWriter writer = BeginCells(sink);
  WriteCleaned(writer, cleaner, text);
  FinishCells(writer);
  Flush(sink);
  return cleaned;
}

}  // namespace tarnlex
