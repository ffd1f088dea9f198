// Most texts hold nothing that their form would have to write otherwise: sixteen bytes are looked
// at at a time.
#pragma once

#include <bit>
#include <cstddef>

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

namespace tarnlex {

// The first byte that is a control character or one of `kOthers`; `end` without one.
template <char... kOthers>
const char* FindSpecial(const char* begin, const char* end) {
#if defined(__SSE2__)
  constexpr std::ptrdiff_t kBlock = 16;
  for (; end - begin >= kBlock; begin += kBlock) {
    const __m128i bytes =
        _mm_loadu_si128(reinterpret_cast<const __m128i*>(begin));  // unaligned by design
    __m128i found = _mm_cmpeq_epi8(_mm_min_epu8(bytes, _mm_set1_epi8(' ' - 1)), bytes);
    ((found = _mm_or_si128(found, _mm_cmpeq_epi8(bytes, _mm_set1_epi8(kOthers)))), ...);
    const auto bits = static_cast<unsigned>(_mm_movemask_epi8(found));
    if (bits != 0) return begin + std::countr_zero(bits);
  }
#endif
  for (; begin != end; ++begin) {
    if (static_cast<unsigned char>(*begin) < ' ' || ((*begin == kOthers) || ...)) break;
  }
  return begin;
}

}  // namespace tarnlex
