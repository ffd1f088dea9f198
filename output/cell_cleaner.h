// What happens to a cell's text on its way out, in blocks of characters.
#pragma once

#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string_view>

#include "logs/run_options.h"

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

namespace tarnlex {

// What happens to a cell's text: up to two characters are replaced, and line breaks are marked
// "[CRLF]", "[LFCR]", "[LF]", "[CR]". A block of each character, to compare blocks of text with.
inline constexpr std::size_t kCellBlock = 16;
struct CellCleaner {
  alignas(kCellBlock) char from[2][kCellBlock];
  alignas(kCellBlock) char to[2][kCellBlock];
  char character[5] = {};  // of several bytes, becomes a blank; see Clean in cell_writer
};

// The cleaner for the run's separator character. In a pulled value "," becomes ";" before the
// separator character is replaced.
CellCleaner MakeCellCleaner(const SeparatorClass& separators, bool pulled);

inline bool IsLineBreak(char c) { return c == '\r' || c == '\n'; }

// Copies `count` characters (a block at most), replaced, until a line break; returns how many.
// Reads a whole block at `from` and writes one at `out`.
#if defined(__SSE2__)

inline __m128i LoadCellBlock(const char* at) {
  return _mm_loadu_si128(reinterpret_cast<const __m128i*>(at));  // unaligned by design
}

inline __m128i ReplacedBlock(const CellCleaner& cleaner, int index, __m128i text) {
  const __m128i hit = _mm_cmpeq_epi8(text, LoadCellBlock(cleaner.from[index]));
  return _mm_or_si128(_mm_andnot_si128(hit, text),
                      _mm_and_si128(hit, LoadCellBlock(cleaner.to[index])));
}

inline std::size_t CopyCellBlock(const CellCleaner& cleaner, const char* from, std::size_t count,
                                 char* out) {
  const __m128i text = LoadCellBlock(from);
  const __m128i breaks = _mm_or_si128(_mm_cmpeq_epi8(text, _mm_set1_epi8('\r')),
                                      _mm_cmpeq_epi8(text, _mm_set1_epi8('\n')));
  // The two replacements never meet: neither gives what the other takes.
  const __m128i replaced = ReplacedBlock(cleaner, 1, ReplacedBlock(cleaner, 0, text));
  _mm_storeu_si128(reinterpret_cast<__m128i*>(out), replaced);
  const unsigned stops = static_cast<unsigned>(_mm_movemask_epi8(breaks)) | 1U << count;
  return static_cast<std::size_t>(std::countr_zero(stops));
}

// The position of `wanted` in a block, kCellBlock without it.
inline std::size_t FindInCellBlock(char wanted, const char* from) {
  const __m128i hits = _mm_cmpeq_epi8(LoadCellBlock(from), _mm_set1_epi8(wanted));
  const unsigned stops = static_cast<unsigned>(_mm_movemask_epi8(hits)) | 1U << kCellBlock;
  return static_cast<std::size_t>(std::countr_zero(stops));
}

// Ones, then zeros: what lies so many ones before the zeros picks as many bytes of a block.
inline constexpr auto kFirstOfBlock = [] {
  std::array<char, 2 * kCellBlock> picks{};
  for (std::size_t i = 0; i < kCellBlock; ++i) picks[i] = 1;
  return picks;
}();

// Bytes of a block's first `count` that do not continue a character. Reads a whole block.
inline std::size_t CountBlockCharacters(const char* from, std::size_t count) {
  // Continuation bytes are the smallest of all when bytes are signed: -128..-65.
  const __m128i starts = _mm_cmpgt_epi8(LoadCellBlock(from), _mm_set1_epi8(-65));
  const __m128i ones =
      _mm_and_si128(starts, LoadCellBlock(kFirstOfBlock.data() + kCellBlock - count));
  // One sum for each half.
  const __m128i sums = _mm_sad_epu8(ones, _mm_setzero_si128());
  const int counted = _mm_cvtsi128_si32(sums) + _mm_cvtsi128_si32(_mm_unpackhi_epi64(sums, sums));
  return static_cast<std::size_t>(counted);
}

#else

inline std::size_t FindInCellBlock(char wanted, const char* from) {
  std::size_t at = 0;
  while (at < kCellBlock && from[at] != wanted) ++at;
  return at;
}

inline std::size_t CopyCellBlock(const CellCleaner& cleaner, const char* from, std::size_t count,
                                 char* out) {
  std::size_t done = 0;
  for (; done < count && !IsLineBreak(from[done]); ++done) {
    const char c = from[done];
    out[done] = c == cleaner.from[0][0]   ? cleaner.to[0][0]
                : c == cleaner.from[1][0] ? cleaner.to[1][0]
                                          : c;
  }
  return done;
}

inline std::size_t CountBlockCharacters(const char* from, std::size_t count) {
  std::size_t starts = 0;
  for (std::size_t i = 0; i < count; ++i) starts += (from[i] & 0xC0) != 0x80;
  return starts;
}

#endif

// Characters (code points) of a text behind which a block may be read.
inline std::size_t CountCellCharacters(std::string_view text) {
  std::size_t characters = 0;
  while (text.size() > kCellBlock) {
    characters += CountBlockCharacters(text.data(), kCellBlock);
    text.remove_prefix(kCellBlock);
  }
  return characters + CountBlockCharacters(text.data(), text.size());
}

// Marks the line break at `from`, the longest there, at `out`, where kLineBreakRoom bytes are
// written; returns how many characters it consists of.
inline constexpr std::size_t kLineBreakRoom = 8;
inline std::size_t MarkLineBreak(const char* from, const char* end, char*& out) {
  const bool pair = end - from > 1 && IsLineBreak(from[1]) && from[0] != from[1];
  const bool carriage = from[0] == '\r';
  const char* mark = pair       ? carriage ? "[CRLF]\0" : "[LFCR]\0"
                     : carriage ? "[CR]\0\0\0"
                                : "[LF]\0\0\0";
  std::memcpy(out, mark, kLineBreakRoom);
  out += pair ? 6 : 4;
  return pair ? 2 : 1;
}

// The same for the line breaks that follow one another at `from`, as far as `room` goes, which is
// kLineBreakRoom at least.
std::size_t MarkLineBreaks(const char* from, const char* end, std::size_t room, char*& out);

// How many characters of a text belong to line breaks. A plain sum, which runs many characters at a
// time.
inline std::size_t CountLineBreakCharacters(const char* begin, const char* end) {
  std::size_t count = 0;
  for (; begin != end; ++begin) {
    count += static_cast<unsigned>(*begin == '\r') | static_cast<unsigned>(*begin == '\n');
  }
  return count;
}

// Replaces characters where they stand, until a line break; returns where that is, or `end`. Reads
// and writes a block behind `end`.
char* ReplaceInPlace(const CellCleaner& cleaner, char* begin, char* end);

}  // namespace tarnlex
