// Most texts hold nothing that their form would have to write otherwise: sixteen bytes are looked
// at at a time.
#pragma once

#include <bit>
#include <cstddef>

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

namespace tarnlex {

#if defined(__SSE2__)

// Bits of the bytes that are control characters or one of `kOthers`.
template <char... kOthers>
unsigned SpecialBits(__m128i bytes) {
  __m128i found = _mm_cmpeq_epi8(_mm_min_epu8(bytes, _mm_set1_epi8(' ' - 1)), bytes);
  ((found = _mm_or_si128(found, _mm_cmpeq_epi8(bytes, _mm_set1_epi8(kOthers)))), ...);
  return static_cast<unsigned>(_mm_movemask_epi8(found));
}

#endif

// The first byte that is a control character or one of `kOthers`; `end` without one.
template <char... kOthers>
const char* FindSpecial(const char* begin, const char* end) {
#if defined(__SSE2__)
  constexpr std::ptrdiff_t kBlock = 16;
  constexpr std::ptrdiff_t kHalf = 8;
  const bool is_long = end - begin >= kBlock;
  for (; end - begin >= kBlock; begin += kBlock) {
    const unsigned bits = SpecialBits<kOthers...>(
        _mm_loadu_si128(reinterpret_cast<const __m128i*>(begin)));  // unaligned by design
    if (bits != 0) return begin + std::countr_zero(bits);
  }
  // The last bytes once more with some before them, which are known to be none.
  if (is_long) {
    const unsigned bits = SpecialBits<kOthers...>(
        _mm_loadu_si128(reinterpret_cast<const __m128i*>(end - kBlock)));  // unaligned by design
    return bits != 0 ? end - (kBlock - std::countr_zero(bits)) : end;
  }
  if (end - begin >= kHalf) {
    const unsigned bits = SpecialBits<kOthers...>(
        _mm_unpacklo_epi64(_mm_loadl_epi64(reinterpret_cast<const __m128i*>(begin)),
                           _mm_loadl_epi64(reinterpret_cast<const __m128i*>(end - kHalf))));
    if ((bits & 0xFF) != 0) return begin + std::countr_zero(bits);
    return bits != 0 ? end - (kBlock - std::countr_zero(bits)) : end;
  }
#endif
  for (; begin != end; ++begin) {
    if (static_cast<unsigned char>(*begin) < ' ' || ((*begin == kOthers) || ...)) break;
  }
  return begin;
}

}  // namespace tarnlex
