#include "logs/unit_search.h"

#include <algorithm>
#include <bit>
#include <cstddef>

#include "logs/text.h"

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

namespace tarnlex {
namespace {

bool BeginsWithUnits(const std::uint8_t* at, std::string_view lowered) {
  for (const char wanted : lowered) {
    if (at[1] != 0 || LowerAscii(static_cast<char>(at[0])) != wanted) return false;
    at += 2;
  }
  return true;
}

#if defined(__SSE2__)

constexpr std::size_t kBlock = 16;

// A character with this bit is a small letter where it was a letter, and is compared with one that
// was given the bit too: what is found so is looked at again.
constexpr char kCaseBit = 0x20;

struct UnitPattern {
  __m128i first;
  __m128i last;
  std::size_t last_at;  // byte of the last character
};

UnitPattern PatternOf(std::string_view lowered) {
  return {_mm_set1_epi8(static_cast<char>(lowered.front() | kCaseBit)),
          _mm_set1_epi8(static_cast<char>(lowered.back() | kCaseBit)), 2 * (lowered.size() - 1)};
}

__m128i LoadFolded(const std::uint8_t* at) {
  const __m128i bytes =
      _mm_loadu_si128(reinterpret_cast<const __m128i*>(at));  // unaligned by design
  return _mm_or_si128(bytes, _mm_set1_epi8(kCaseBit));
}

// Of sixteen beginnings those that have the first and the last character.
__m128i Candidates(const UnitPattern& pattern, const std::uint8_t* at) {
  return _mm_and_si128(_mm_cmpeq_epi8(LoadFolded(at), pattern.first),
                       _mm_cmpeq_epi8(LoadFolded(at + pattern.last_at), pattern.last));
}

bool AnyBegins(__m128i candidates, const std::uint8_t* at, std::string_view lowered) {
  auto left = static_cast<unsigned>(_mm_movemask_epi8(candidates));
  for (; left != 0; left &= left - 1) {
    if (BeginsWithUnits(at + std::countr_zero(left), lowered)) return true;
  }
  return false;
}

// Looks at beginnings in blocks as long as these lie inside; `begin` is behind the last looked at.
bool FindInBlocks(Bytes bytes, std::string_view lowered, std::size_t& begin) {
  const UnitPattern pattern = PatternOf(lowered);
  const std::size_t behind = pattern.last_at + kBlock + 1;
  for (; begin + behind + kBlock <= bytes.size(); begin += 2 * kBlock) {
    const std::uint8_t* const at = bytes.data() + begin;
    const __m128i here = Candidates(pattern, at);
    const __m128i next = Candidates(pattern, at + kBlock);
    if (_mm_movemask_epi8(_mm_or_si128(here, next)) == 0) continue;
    if (AnyBegins(here, at, lowered) || AnyBegins(next, at + kBlock, lowered)) return true;
  }
  for (; begin + behind <= bytes.size(); begin += kBlock) {
    const std::uint8_t* const at = bytes.data() + begin;
    if (AnyBegins(Candidates(pattern, at), at, lowered)) return true;
  }
  return false;
}

#else

bool FindInBlocks(Bytes, std::string_view, std::size_t&) { return false; }

#endif

}  // namespace

bool HoldsUnitsNoCase(Bytes bytes, std::string_view lowered) {
  if (lowered.empty()) return true;
  std::size_t begin = 0;
  if (FindInBlocks(bytes, lowered, begin)) return true;
  for (; begin + 2 * lowered.size() <= bytes.size(); ++begin) {
    if (BeginsWithUnits(bytes.data() + begin, lowered)) return true;
  }
  return false;
}

}  // namespace tarnlex
