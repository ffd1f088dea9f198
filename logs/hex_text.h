// Hexadecimal digits, those of eight bytes at once: one step spreads the nibbles over bytes,
// another makes characters of them.
#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>

#include "logs/bytes.h"

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

namespace tarnlex {

// What stands for ten.
inline constexpr char kSmallTen = 'a';
inline constexpr char kCapitalTen = 'A';

#if defined(__SSE2__)

// The digits of the eight lower bytes, the lowest first.
template <char kTen>
__m128i HexDigitsOf(std::uint64_t bytes) {
  const __m128i low = _mm_set1_epi8(0x0F);
  const __m128i whole = _mm_cvtsi64_si128(static_cast<long long>(bytes));
  const __m128i nibbles =
      _mm_unpacklo_epi8(_mm_and_si128(_mm_srli_epi16(whole, 4), low), _mm_and_si128(whole, low));
  const __m128i letters = _mm_and_si128(_mm_cmpgt_epi8(nibbles, _mm_set1_epi8(9)),
                                        _mm_set1_epi8(static_cast<char>(kTen - '0' - 10)));
  return _mm_add_epi8(_mm_add_epi8(nibbles, _mm_set1_epi8('0')), letters);
}

// Writes the sixteen digits of eight bytes, and the eight of four, the lowest first.
template <char kTen>
void WriteSixteenDigits(std::uint64_t bytes, char* out) {
  _mm_storeu_si128(reinterpret_cast<__m128i*>(out), HexDigitsOf<kTen>(bytes));
}

template <char kTen>
void WriteEightDigits(std::uint32_t bytes, char* out) {
  _mm_storel_epi64(reinterpret_cast<__m128i*>(out), HexDigitsOf<kTen>(bytes));
}

#else

template <char kTen>
void WriteEightDigits(std::uint32_t bytes, char* out) {
  for (int i = 0; i < 8; ++i) {
    const auto nibble = static_cast<char>(bytes >> (i % 2 == 0 ? 4 * i + 4 : 4 * i - 4) & 0xF);
    out[i] = static_cast<char>(nibble < 10 ? '0' + nibble : kTen + nibble - 10);
  }
}

template <char kTen>
void WriteSixteenDigits(std::uint64_t bytes, char* out) {
  WriteEightDigits<kTen>(static_cast<std::uint32_t>(bytes), out);
  WriteEightDigits<kTen>(static_cast<std::uint32_t>(bytes >> 32), out + 8);
}

#endif

// Writes the eight digits of a number, zero-filled; returns the end.
inline char* WriteHex8(std::uint32_t value, char* out) {
  WriteEightDigits<kSmallTen>(__builtin_bswap32(value), out);
  return out + 8;
}

// The sixteen of a wider one.
inline char* WriteHex16(std::uint64_t value, char* out) {
  WriteSixteenDigits<kSmallTen>(__builtin_bswap64(value), out);
  return out + 16;
}

// "%08x-%04x-%04x-%02x%02x-%02x%02x%02x%02x%02x%02x" of 16 bytes, written at `out` (36 characters);
// returns the end.
inline constexpr std::size_t kGuidTextSize = 36;

template <char kTen = kSmallTen>
char* WriteGuidText(const std::uint8_t* guid, char* out) {
  // Reversed as one, the three numbers stand in the wrong order.
  const std::uint64_t turned = __builtin_bswap64(Load<std::uint64_t>(guid));
  const auto words = std::rotl(static_cast<std::uint32_t>(turned), 16);
  WriteSixteenDigits<kTen>(std::uint64_t{words} << 32 | turned >> 32, out);
  WriteSixteenDigits<kTen>(Load<std::uint64_t>(guid + 8), out + 20);
  // The groups in between make room for the "-".
  std::memmove(out + 14, out + 12, 4);
  std::memmove(out + 9, out + 8, 4);
  std::memmove(out + 19, out + 20, 4);
  out[8] = out[13] = out[18] = out[23] = '-';
  return out + kGuidTextSize;
}

}  // namespace tarnlex
