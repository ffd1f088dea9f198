#include "output/cell_writer.h"

#include <algorithm>
#include <bit>
#include <cstring>

#include "logs/text.h"

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

namespace tarnlex {
namespace {

constexpr std::size_t kBlock = 16;

// Room that cleaning one block and one line break may take, block stores included.
constexpr std::size_t kStepRoom = 2 * kBlock;

// How much room a long text asks for at a time.
constexpr std::size_t kMostRoom = std::size_t{1} << 16;

bool IsBreak(char c) { return c == '\r' || c == '\n'; }

void SetReplacement(CellCleaner& cleaner, int index, char from, char to) {
  std::memset(cleaner.from[index], from, kBlock);
  std::memset(cleaner.to[index], to, kBlock);
}

#if defined(__SSE2__)

__m128i LoadBlock(const char* at) {
  return _mm_loadu_si128(reinterpret_cast<const __m128i*>(at));  // unaligned by design
}

__m128i Replaced(const CellCleaner& cleaner, int index, __m128i text) {
  const __m128i hit = _mm_cmpeq_epi8(text, LoadBlock(cleaner.from[index]));
  return _mm_or_si128(_mm_andnot_si128(hit, text),
                      _mm_and_si128(hit, LoadBlock(cleaner.to[index])));
}

// Copies up to a block of `count` characters, replaced, until a line break; returns how many. Reads
// and writes a whole block.
std::size_t CopyBlock(const CellCleaner& cleaner, const char* from, std::size_t count, char* out) {
  const __m128i text = LoadBlock(from);
  const __m128i breaks = _mm_or_si128(_mm_cmpeq_epi8(text, _mm_set1_epi8('\r')),
                                      _mm_cmpeq_epi8(text, _mm_set1_epi8('\n')));
  // The two replacements never meet: neither gives what the other takes.
  const __m128i replaced = Replaced(cleaner, 1, Replaced(cleaner, 0, text));
  _mm_storeu_si128(reinterpret_cast<__m128i*>(out), replaced);
  const unsigned stops = static_cast<unsigned>(_mm_movemask_epi8(breaks)) | 1U << count;
  return static_cast<std::size_t>(std::countr_zero(stops));
}

#else

char Replaced(const CellCleaner& cleaner, char c) {
  if (c == cleaner.from[0][0]) return cleaner.to[0][0];
  if (c == cleaner.from[1][0]) return cleaner.to[1][0];
  return c;
}

std::size_t CopyBlock(const CellCleaner& cleaner, const char* from, std::size_t count, char* out) {
  std::size_t done = 0;
  for (; done < count && !IsBreak(from[done]); ++done) out[done] = Replaced(cleaner, from[done]);
  return done;
}

#endif

// Marks the line break at `from`, the longest there; returns its length.
std::size_t MarkBreak(const char* from, const char* end, char*& out) {
  const bool pair = end - from > 1 && IsBreak(from[1]) && from[0] != from[1];
  const bool carriage = from[0] == '\r';
  const std::string_view mark = pair ? carriage ? "[CRLF]" : "[LFCR]" : carriage ? "[CR]" : "[LF]";
  std::memcpy(out, mark.data(), mark.size());
  out += mark.size();
  return pair ? 2 : 1;
}

// The last characters of a text behind which nothing may be read.
const char* CopyLast(const char* from, std::size_t count, char (&last)[kBlock]) {
  std::memset(last, ' ', kBlock);
  std::memcpy(last, from, count);
  return last;
}

template <bool kReadBehind>
void Clean(CellWriter& writer, const CellCleaner& cleaner, std::string_view text) {
  const char* from = text.data();
  const char* const end = from + text.size();
  while (from != end) {
    const auto left = static_cast<std::size_t>(end - from);
    if (static_cast<std::size_t>(writer.end - writer.at) < kStepRoom) {
      MakeRoom(writer, std::min(left, kMostRoom) + kStepRoom);
    }
    const std::size_t count = std::min(left, kBlock);
    const char* block = from;
    char last[kBlock];
    if (!kReadBehind && count < kBlock) block = CopyLast(from, count, last);
    const std::size_t plain = CopyBlock(cleaner, block, count, writer.at);
    from += plain;
    writer.at += plain;
    if (plain < count) from += MarkBreak(from, end, writer.at);
  }
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

void WriteCleaned(CellWriter& writer, const CellCleaner& cleaner, std::string_view text) {
  Clean<false>(writer, cleaner, text);
}

void WriteCleanedCell(CellWriter& writer, const CellCleaner& cleaner, std::string_view text) {
  Clean<true>(writer, cleaner, text);
}

std::size_t CleanedWidth(std::string_view text) {
  std::size_t width = CountCodePoints(text);
  for (std::size_t at = text.find_first_of("\r\n"); at != std::string_view::npos;
       at = text.find_first_of("\r\n", at)) {
    char mark[8];
    char* end = mark;
    const std::size_t length = MarkBreak(text.data() + at, text.data() + text.size(), end);
    width += static_cast<std::size_t>(end - mark) - length;
    at += length;
  }
  return width;
}

}  // namespace tarnlex
