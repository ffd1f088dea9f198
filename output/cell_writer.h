// Cells on their way into a sink: written in place into its buffer, cleaned and padded in one pass.
#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "logs/run_options.h"
#include "logs/text_sink.h"

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

// Bytes of a block's first `count` that do not continue a character. Reads a whole block.
inline std::size_t CountBlockCharacters(const char* from, std::size_t count) {
  // Continuation bytes are the smallest of all when bytes are signed: -128..-65.
  const __m128i starts = _mm_cmpgt_epi8(LoadCellBlock(from), _mm_set1_epi8(-65));
  const unsigned counted = (1U << count) - 1;
  return static_cast<std::size_t>(
      std::popcount(static_cast<unsigned>(_mm_movemask_epi8(starts)) & counted));
}

#else

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

// Writes at `at`; whatever a call writes beyond `end` makes room first. Every writer below is given
// a writer with nothing promised. FinishCells must be called before the sink is used otherwise.
struct CellWriter {
  TextSink* sink = nullptr;
  char* at = nullptr;
  char* end = nullptr;
};
CellWriter BeginCells(TextSink& sink);
void FinishCells(CellWriter& writer);

// Hands full blocks on until at least `size` bytes are free.
void MakeRoom(CellWriter& writer, std::size_t size);
inline void NeedRoom(CellWriter& writer, std::size_t size) {
  if (static_cast<std::size_t>(writer.end - writer.at) < size) MakeRoom(writer, size);
}

// As it is.
void WriteVerbatim(CellWriter& writer, std::string_view text);
inline void WriteCharacter(CellWriter& writer, char c) {
  NeedRoom(writer, 1);
  *writer.at++ = c;
}
void WriteBlanks(CellWriter& writer, std::size_t count);
void WriteNumber(CellWriter& writer, std::uint64_t number);

// Cleaned; returns how many characters longer the text became. The second form is for texts behind
// which a block may be read, as behind every packed cell of a collection.
std::size_t WriteCleaned(CellWriter& writer, const CellCleaner& cleaner, std::string_view text);
std::size_t WriteCleanedCell(CellWriter& writer, const CellCleaner& cleaner, std::string_view text);

// The cleaned text by itself, for texts that are written again and again.
std::string Cleaned(const CellCleaner& cleaner, std::string_view text);

}  // namespace tarnlex
