// A short way for the texts that make up nearly all of an event log: UTF-16 units that are plain
// ASCII and hold nothing that their form would have to look at again. One look at
// sixteen units converts and judges them.
#pragma once

#include <cstddef>
#include <cstdint>

#include "logs/bytes.h"
#include "logs/text.h"

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

namespace tarnlex {

// Bytes behind the text's own that these may overwrite.
inline constexpr std::size_t kPlainAsciiBlock = 16;

#if defined(__SSE2__)

// The sixteen units at `at`, a byte each.
inline __m128i PackUnits(const std::uint8_t* at) {
  const auto* const units = reinterpret_cast<const __m128i*>(at);
  return _mm_packus_epi16(_mm_loadu_si128(units), _mm_loadu_si128(units + 1));
}

// Bits of the characters that are not plain. A unit above 0xFF has become 0xFF or 0 when it was
// packed. The highest bit is set in what is above 0x7F, and in what is less than a blank once that
// is taken from it.
template <char... kOthers>
unsigned NotPlain(__m128i characters) {
  __m128i found = _mm_or_si128(characters, _mm_sub_epi8(characters, _mm_set1_epi8(' ')));
  ((found = _mm_or_si128(found, _mm_cmpeq_epi8(characters, _mm_set1_epi8(kOthers)))), ...);
  return static_cast<unsigned>(_mm_movemask_epi8(found));
}

#endif

// Writes the `count` UTF-16LE units at `offset` of `bytes`, where they lie whole, at `out`, a byte
// each and zero units at the end left out; returns the end. Null when one of them is no printable
// ASCII character or one of `kOthers`, or when the text ends too close to the end of `bytes` to be
// read in blocks: such a text has to be written the long way. Always put into what writes texts, as
// a call would take a fifth of what most texts take.
template <char... kOthers>
[[gnu::always_inline]] inline char* WriteAscii(Bytes bytes, std::size_t offset, std::size_t count,
                                               char* out) {
#if defined(__SSE2__)
  if (!Fits(bytes, offset, 2 * (count + kPlainAsciiBlock))) return nullptr;
  const std::uint8_t* from = bytes.data() + offset;
  count = UnitsWithoutZerosAtEnd(from, count);
  for (; count > kPlainAsciiBlock; count -= kPlainAsciiBlock) {
    const __m128i characters = PackUnits(from);
    if (NotPlain<kOthers...>(characters) != 0) return nullptr;
    _mm_storeu_si128(reinterpret_cast<__m128i*>(out), characters);
    from += 2 * kPlainAsciiBlock;
    out += kPlainAsciiBlock;
  }
  const __m128i characters = PackUnits(from);
  if ((NotPlain<kOthers...>(characters) & ((1U << count) - 1)) != 0) return nullptr;
  _mm_storeu_si128(reinterpret_cast<__m128i*>(out), characters);
#else
  if (!Fits(bytes, offset, 2 * count)) return nullptr;
  const std::uint8_t* from = bytes.data() + offset;
  count = UnitsWithoutZerosAtEnd(from, count);
  for (std::size_t i = 0; i < count; ++i) {
    const std::uint16_t unit = Load<std::uint16_t>(from + 2 * i);
    if (unit < ' ' || unit >= 0x80 || ((unit == kOthers) || ...)) return nullptr;
    out[i] = static_cast<char>(unit);
  }
#endif
  return out + count;
}

// The same for cells of tables, which hold neither a comma nor a bar.
inline char* WritePlainAscii(Bytes bytes, std::size_t offset, std::size_t count, char* out) {
  return WriteAscii<',', '|'>(bytes, offset, count, out);
}

// The same for texts of XML, which hold no character that markup has a meaning for.
inline char* WriteXmlAscii(Bytes bytes, std::size_t offset, std::size_t count, char* out) {
  return WriteAscii<'&', '<', '>', '"'>(bytes, offset, count, out);
}

// The same for texts between quotes, which hold no quote and no backslash.
inline char* WriteQuotableAscii(Bytes bytes, std::size_t offset, std::size_t count, char* out) {
  return WriteAscii<'"', '\\'>(bytes, offset, count, out);
}

}  // namespace tarnlex
