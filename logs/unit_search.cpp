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

// The place of the character that logs have least of: their texts are mostly English words, and
// other characters than letters are met in other values, too.
std::size_t RarestOf(std::string_view lowered) {
  constexpr std::string_view kByRareness = "qzjxkvbywghfupmldcranosite";
  std::size_t rarest = 0;
  for (std::size_t i = 1; i < lowered.size(); ++i) {
    if (kByRareness.find(lowered[i]) < kByRareness.find(lowered[rarest])) rarest = i;
  }
  return rarest;
}

// Whether what is at `from` is the text, each of its characters being `width` bytes.
inline bool Spells(const std::uint8_t* from, std::string_view lowered, std::size_t width) {
  for (const char wanted : lowered) {
    if (LowerAscii(static_cast<char>(from[0])) != wanted) return false;
    if (width == 2 && from[1] != 0) return false;
    from += width;
  }
  return true;
}

// Whether the text stands in `bytes` with its `nth` character at `at`.
bool StandsAt(Bytes bytes, std::size_t at, std::string_view lowered, std::size_t nth,
              std::size_t width) {
  return at >= nth * width && Fits(bytes, at - nth * width, lowered.size() * width) &&
         Spells(bytes.data() + at - nth * width, lowered, width);
}

bool TextStandsAt(Bytes bytes, std::size_t at, std::string_view lowered, std::size_t nth) {
  return StandsAt(bytes, at, lowered, nth, 2) || StandsAt(bytes, at, lowered, nth, 1);
}

#if defined(__SSE2__)

constexpr std::size_t kBlock = 16;
constexpr std::size_t kStretch = 4 * kBlock;

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
    if (Spells(at + std::countr_zero(left), lowered, 2)) return true;
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

// Bits of those of 64 bytes that may be a character.
std::uint64_t BytesLike(__m128i wanted, __m128i case_bit, const std::uint8_t* at) {
  std::uint64_t like = 0;
  for (std::size_t i = 0; i < kStretch; i += kBlock) {
    const __m128i bytes = _mm_loadu_si128(reinterpret_cast<const __m128i*>(at + i));
    const __m128i same = _mm_cmpeq_epi8(_mm_or_si128(bytes, case_bit), wanted);
    like |= static_cast<std::uint64_t>(_mm_movemask_epi8(same)) << i;
  }
  return like;
}

bool AnyLike(__m128i wanted, __m128i case_bit, const std::uint8_t* at) {
  __m128i any = _mm_setzero_si128();
  for (std::size_t i = 0; i < kStretch; i += kBlock) {
    const __m128i bytes = _mm_loadu_si128(reinterpret_cast<const __m128i*>(at + i));
    any = _mm_or_si128(any, _mm_cmpeq_epi8(_mm_or_si128(bytes, case_bit), wanted));
  }
  return _mm_movemask_epi8(any) != 0;
}

// Looks for the text by one of its characters; `at` is behind the last byte that was looked at.
bool FindInStretches(Bytes bytes, std::string_view lowered, std::size_t nth, std::size_t& at) {
  const char character = lowered[nth];
  const __m128i wanted = _mm_set1_epi8(character);
  const __m128i case_bit = _mm_set1_epi8(character >= 'a' && character <= 'z' ? kCaseBit : 0);
  for (; at + kStretch <= bytes.size(); at += kStretch) {
    if (!AnyLike(wanted, case_bit, bytes.data() + at)) continue;
    for (std::uint64_t left = BytesLike(wanted, case_bit, bytes.data() + at); left != 0;
         left &= left - 1) {
      const auto place = at + static_cast<std::size_t>(std::countr_zero(left));
      if (TextStandsAt(bytes, place, lowered, nth)) return true;
    }
  }
  return false;
}

#else

bool FindInStretches(Bytes, std::string_view, std::size_t, std::size_t&) { return false; }

bool FindInBlocks(Bytes, std::string_view, std::size_t&) { return false; }

#endif

}  // namespace

bool HoldsUnitsNoCase(Bytes bytes, std::string_view lowered) {
  if (lowered.empty()) return true;
  std::size_t begin = 0;
  if (FindInBlocks(bytes, lowered, begin)) return true;
  for (; begin + 2 * lowered.size() <= bytes.size(); ++begin) {
    if (Spells(bytes.data() + begin, lowered, 2)) return true;
  }
  return false;
}

bool HoldsTextNoCase(Bytes bytes, std::string_view lowered) {
  if (lowered.empty()) return true;
  const std::size_t nth = RarestOf(lowered);
  std::size_t at = 0;
  if (FindInStretches(bytes, lowered, nth, at)) return true;
  for (; at < bytes.size(); ++at) {
    if (TextStandsAt(bytes, at, lowered, nth)) return true;
  }
  return false;
}

}  // namespace tarnlex
