#include "logs/text.h"

#include <algorithm>
#include <array>
#include <bit>
#include <charconv>
#include <cstring>

#include "logs/decimal_digits.h"

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

namespace tarnlex {
namespace {

constexpr std::string_view kWhitespace = " \t\r\n";

std::uint16_t UnitAt(const std::uint8_t* units, std::size_t index) {
  return Load<std::uint16_t>(units + 2 * index);
}

// Copies leading ASCII units, a zero unit as a blank; returns how many. Nearly all text in event
// logs is ASCII, so this is where most characters go.
std::size_t CopyAscii(const std::uint8_t* units, std::size_t count, char* out) {
  std::size_t done = 0;
#if defined(__SSE2__)
  const __m128i zero = _mm_setzero_si128();
  const __m128i blank = _mm_set1_epi16(' ');
  const __m128i high = _mm_set1_epi16(static_cast<short>(0xFF80));
  for (; count - done >= 8; done += 8) {
    const __m128i eight =
        _mm_loadu_si128(reinterpret_cast<const __m128i*>(units + 2 * done));  // unaligned by design
    const __m128i not_ascii = _mm_and_si128(eight, high);
    const __m128i text = _mm_or_si128(eight, _mm_and_si128(_mm_cmpeq_epi16(eight, zero), blank));
    // All eight are stored: as many bytes at least are still to come, whatever they are.
    _mm_storel_epi64(reinterpret_cast<__m128i*>(out + done), _mm_packus_epi16(text, text));
    const unsigned plain =
        static_cast<unsigned>(_mm_movemask_epi8(_mm_cmpeq_epi16(not_ascii, zero)));
    if (plain != 0xFFFF) return done + static_cast<std::size_t>(std::countr_one(plain)) / 2;
  }
#endif
  for (; done < count; ++done) {
    const std::uint16_t unit = UnitAt(units, done);
    if (unit >= 0x80) break;
    out[done] = static_cast<char>(unit == 0 ? ' ' : unit);
  }
  return done;
}

constexpr bool IsHighSurrogate(std::uint32_t unit) { return unit >= 0xD800 && unit < 0xDC00; }
constexpr bool IsLowSurrogate(std::uint32_t unit) { return unit >= 0xDC00 && unit < 0xE000; }

char* WriteCodePoint(std::uint32_t code, char* out) {
  const auto put = [&out](std::uint32_t byte) { *out++ = static_cast<char>(byte); };
  if (code < 0x80) {
    put(code);
  } else if (code < 0x800) {
    put(0xC0 | (code >> 6));
    put(0x80 | (code & 0x3F));
  } else if (code < 0x10000) {
    put(0xE0 | (code >> 12));
    put(0x80 | ((code >> 6) & 0x3F));
    put(0x80 | (code & 0x3F));
  } else {
    put(0xF0 | (code >> 18));
    put(0x80 | ((code >> 12) & 0x3F));
    put(0x80 | ((code >> 6) & 0x3F));
    put(0x80 | (code & 0x3F));
  }
  return out;
}

// The character that begins at `at`, which moves behind it.
char* WriteUnit(const std::uint8_t* units, std::size_t count, std::size_t& at, char* out) {
  std::uint32_t code = UnitAt(units, at++);
  if (IsHighSurrogate(code) && at < count && IsLowSurrogate(UnitAt(units, at))) {
    code = 0x10000 + ((code - 0xD800) << 10) + (UnitAt(units, at++) - 0xDC00U);
  } else if (IsHighSurrogate(code) || IsLowSurrogate(code)) {
    code = 0xFFFD;
  }
  return WriteCodePoint(code, out);
}

}  // namespace

std::size_t UnitsBeforeZero(const std::uint8_t* units, std::size_t count) {
  std::size_t at = 0;
#if defined(__SSE2__)
  for (; count - at >= 8; at += 8) {
    const __m128i eight =
        _mm_loadu_si128(reinterpret_cast<const __m128i*>(units + 2 * at));  // unaligned by design
    const auto zeros =
        static_cast<unsigned>(_mm_movemask_epi8(_mm_cmpeq_epi16(eight, _mm_setzero_si128())));
    if (zeros != 0) return at + static_cast<std::size_t>(std::countr_zero(zeros)) / 2;
  }
#endif
  while (at < count && UnitAt(units, at) != 0) ++at;
  return at;
}

char* WriteUtf8(const std::uint8_t* units, std::size_t count, char* out) {
  count = UnitsWithoutZerosAtEnd(units, count);
  std::size_t at = 0;
  while (at < count) {
    const std::size_t plain = CopyAscii(units + 2 * at, count - at, out);
    at += plain;
    out += plain;
    // Other scripts come in runs too.
    while (at < count && UnitAt(units, at) >= 0x80) out = WriteUnit(units, count, at, out);
  }
  return out;
}

char* WriteUtf8List(const std::uint8_t* units, std::size_t count, char* out) {
  for (std::size_t at = 0; at < count;) {
    const std::uint16_t unit = UnitAt(units, at);
    if (unit >= 0x80) {
      out = WriteUnit(units, count, at, out);
      continue;
    }
    if (unit != 0) {
      *out++ = static_cast<char>(unit);
    } else {
      *out++ = ',';
      *out++ = ' ';
    }
    ++at;
  }
  return out;
}

namespace {

// Bytes of up to kCountedUnits units beyond the first byte of each, and how many of them begin a
// pair. Small numbers in plain loops run many units at a time.
constexpr std::size_t kCountedUnits = 4096;

std::uint16_t ExtraBytes(const std::uint8_t* units, std::size_t count) {
  std::uint16_t extra = 0;
  for (std::size_t i = 0; i < count; ++i) {
    const std::uint16_t unit = UnitAt(units, i);
    extra = static_cast<std::uint16_t>(extra + (unit >= 0x80) + (unit >= 0x800));
  }
  return extra;
}

std::uint16_t CountPairs(const std::uint8_t* units, std::size_t count) {
  std::uint16_t pairs = 0;
  for (std::size_t i = 0; i < count; ++i) {
    const bool high = (UnitAt(units, i) & 0xFC00U) == 0xD800U;
    const bool low = (UnitAt(units, i + 1) & 0xFC00U) == 0xDC00U;
    pairs = static_cast<std::uint16_t>(pairs + (high & low));
  }
  return pairs;
}

}  // namespace

std::size_t Utf8Size(const std::uint8_t* units, std::size_t count) {
  count = UnitsWithoutZerosAtEnd(units, count);
  std::size_t size = count;
  for (std::size_t at = 0; at < count; at += kCountedUnits) {
    const std::size_t part = std::min(kCountedUnits, count - at);
    size += ExtraBytes(units + 2 * at, part);
    // A pair takes four bytes, not six; one may begin with the last unit of a part.
    const std::size_t starts = at + part < count ? part : part - 1;
    size -= std::size_t{2} * CountPairs(units + 2 * at, starts);
  }
  return size;
}

std::string Utf16ToUtf8(Bytes utf16) {
  const std::size_t count = utf16.size() / 2;
  std::string text(count * kMaxUtf8PerUnit, '\0');
  text.resize(static_cast<std::size_t>(WriteUtf8(utf16.data(), count, text.data()) - text.data()));
  return text;
}

std::string ToLowerAscii(std::string_view text) {
  std::string lowered(text);
  std::transform(lowered.begin(), lowered.end(), lowered.begin(), LowerAscii);
  return lowered;
}

bool EqualsNoCase(std::string_view a, std::string_view b) {
  return std::equal(a.begin(), a.end(), b.begin(), b.end(),
                    [](char x, char y) { return LowerAscii(x) == LowerAscii(y); });
}

namespace {

bool BeginsNoCase(const char* text, std::string_view lowered) {
  return std::equal(lowered.begin(), lowered.end(), text,
                    [](char x, char y) { return x == LowerAscii(y); });
}

#if defined(__SSE2__)

__m128i LowerBlock(const char* at) {
  const __m128i text =
      _mm_loadu_si128(reinterpret_cast<const __m128i*>(at));  // unaligned by design
  const __m128i capital = _mm_and_si128(_mm_cmpgt_epi8(text, _mm_set1_epi8('A' - 1)),
                                        _mm_cmplt_epi8(text, _mm_set1_epi8('Z' + 1)));
  return _mm_or_si128(text, _mm_and_si128(capital, _mm_set1_epi8('a' - 'A')));
}

// Looks at sixteen beginnings at a time, of which only those are compared whole that have the first
// and the last character of `lowered`. `begin` is where it stopped: behind the last beginning,
// unless the text is too short for a block.
bool FindInBlocks(std::string_view text, std::string_view lowered, std::size_t& begin) {
  constexpr std::size_t kBlock = 16;
  const std::size_t shortest = lowered.size() + kBlock - 1;
  if (text.size() < shortest) return false;
  const std::size_t last_block = text.size() - shortest;
  const __m128i first = _mm_set1_epi8(lowered.front());
  const __m128i last = _mm_set1_epi8(lowered.back());
  while (begin < last_block + kBlock) {
    begin = std::min(begin, last_block);
    const char* at = text.data() + begin;
    begin += kBlock;
    const __m128i both = _mm_and_si128(_mm_cmpeq_epi8(LowerBlock(at), first),
                                       _mm_cmpeq_epi8(LowerBlock(at + lowered.size() - 1), last));
    for (auto hits = static_cast<unsigned>(_mm_movemask_epi8(both)); hits != 0; hits &= hits - 1) {
      if (BeginsNoCase(at + std::countr_zero(hits), lowered)) return true;
    }
  }
  return false;
}

#else

bool FindInBlocks(std::string_view, std::string_view, std::size_t&) { return false; }

#endif

}  // namespace

bool ContainsNoCase(std::string_view text, std::string_view lowered_needle) {
  if (lowered_needle.empty()) return true;
  std::size_t begin = 0;
  if (FindInBlocks(text, lowered_needle, begin)) return true;
  for (; begin + lowered_needle.size() <= text.size(); ++begin) {
    if (BeginsNoCase(text.data() + begin, lowered_needle)) return true;
  }
  return false;
}

std::string_view Trim(std::string_view text) {
  const std::size_t first = text.find_first_not_of(kWhitespace);
  if (first == std::string_view::npos) return {};
  return text.substr(first, text.find_last_not_of(kWhitespace) - first + 1);
}

bool SplitList(std::string_view text, char delimiter, bool trim, std::vector<std::string>& pieces) {
  pieces.clear();
  if (text.empty()) return false;
  while (true) {
    const std::size_t end = text.find(delimiter);
    std::string_view piece = text.substr(0, end);
    if (trim) piece = Trim(piece);
    if (!trim || !piece.empty()) pieces.emplace_back(piece);
    if (end == std::string_view::npos) return true;
    text.remove_prefix(end + 1);
  }
}

std::string ReplaceChar(std::string_view text, char from, char to) {
  std::string replaced(text);
  std::replace(replaced.begin(), replaced.end(), from, to);
  return replaced;
}

std::uint64_t LeadingNumber(std::string_view text) {
  std::uint64_t number = 0;
  const auto result = std::from_chars(text.data(), text.data() + text.size(), number);
  return result.ec == std::errc::result_out_of_range ? ~std::uint64_t{0} : number;
}

namespace {

// By a number's highest bit: the digits of numbers below a power of ten in the upper half, and in
// the lower one what lifts numbers from that power on over its edge.
constexpr auto kDigitCounts = [] {
  std::array<std::uint64_t, 32> counts{};
  std::uint64_t power = 10;
  std::uint64_t digits = 1;
  for (std::size_t bit = 0; bit < counts.size(); ++bit) {
    if (std::uint64_t{1} << bit >= power) {
      power *= 10;
      ++digits;
    }
    counts[bit] = ((digits + 1) << 32) - power;
  }
  return counts;
}();

// Of a number from 1 on.
std::size_t CountDigits(std::uint32_t value) {
  const auto highest = static_cast<std::size_t>(std::bit_width(value) - 1);
  return static_cast<std::size_t>((value + kDigitCounts[highest]) >> 32);
}

// Writes `count` digits, the last of as many bytes as the number has; returns the end.
template <typename T>
char* WriteLast(T digits, std::size_t count, char* out) {
  const T text = (digits | static_cast<T>(kZeros)) >> (8 * (sizeof digits - count));
  std::memcpy(out, &text, sizeof text);
  return out + count;
}

// Of a number from 1 on. How many digits it has is found without a branch, which would be taken for
// one number and not for the next, and before the digits are, as that is where the next text goes.
char* WriteUpToEight(std::uint32_t value, char* out) {
  const std::size_t count = CountDigits(value);
  return value < 10'000 ? WriteLast(FourDigitsOf(value), count, out)
                        : WriteLast(EightDigitsOf(value), count, out);
}

}  // namespace

char* WriteManyDigits(std::uint64_t value, char* out) {
  if (value < kEightDigits) return WriteUpToEight(static_cast<std::uint32_t>(value), out);
  const std::uint64_t upper = value / kEightDigits;
  out = upper < kEightDigits ? WriteUpToEight(static_cast<std::uint32_t>(upper), out)
                             : WriteManyDigits(upper, out);
  return WriteEight(static_cast<std::uint32_t>(value - upper * kEightDigits), out);
}

char* WriteHex(std::uint64_t value, int digits, char* out) {
  for (int i = digits; i-- > 0; value >>= 4) out[i] = "0123456789abcdef"[value & 0xF];
  return out + digits;
}

std::string HexText(std::uint64_t value) {
  char digits[16];
  return {digits, std::to_chars(digits, digits + sizeof digits, value, 16).ptr};
}

std::size_t CountCodePoints(std::string_view text) {
  return static_cast<std::size_t>(std::count_if(text.begin(), text.end(), [](char c) {
    return (static_cast<unsigned char>(c) & 0xC0) != 0x80;
  }));
}

}  // namespace tarnlex
