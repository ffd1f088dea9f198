#include "logs/text.h"

#include <algorithm>
#include <charconv>

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

namespace tarnlex {
namespace {

constexpr std::string_view kWhitespace = " \t\r\n";

std::uint16_t UnitAt(const std::uint8_t* units, std::size_t index) {
  return Load<std::uint16_t>(units + 2 * index);
}

// Copies leading ASCII units (none of them zero) as they are; returns how many. Nearly all text in
// event logs is ASCII, so this is where most characters go.
std::size_t CopyAscii(const std::uint8_t* units, std::size_t count, char* out) {
  std::size_t done = 0;
#if defined(__SSE2__)
  const __m128i zero = _mm_setzero_si128();
  const __m128i high = _mm_set1_epi16(static_cast<short>(0xFF80));
  for (; count - done >= 8; done += 8) {
    const __m128i eight =
        _mm_loadu_si128(reinterpret_cast<const __m128i*>(units + 2 * done));  // unaligned by design
    const __m128i not_ascii = _mm_and_si128(eight, high);
    const bool plain = _mm_movemask_epi8(_mm_cmpeq_epi16(not_ascii, zero)) == 0xFFFF &&
                       _mm_movemask_epi8(_mm_cmpeq_epi16(eight, zero)) == 0;
    if (!plain) break;
    _mm_storel_epi64(reinterpret_cast<__m128i*>(out + done), _mm_packus_epi16(eight, eight));
  }
#endif
  for (; done < count; ++done) {
    const std::uint16_t unit = UnitAt(units, done);
    if (unit == 0 || unit >= 0x80) break;
    out[done] = static_cast<char>(unit);
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

}  // namespace

char* WriteUtf8(const std::uint8_t* units, std::size_t count, char* out) {
  while (count > 0 && UnitAt(units, count - 1) == 0) --count;
  std::size_t at = 0;
  while (at < count) {
    const std::size_t plain = CopyAscii(units + 2 * at, count - at, out);
    at += plain;
    out += plain;
    if (at == count) break;
    std::uint32_t code = UnitAt(units, at++);
    if (code == 0) {
      code = ' ';
    } else if (IsHighSurrogate(code) && at < count && IsLowSurrogate(UnitAt(units, at))) {
      code = 0x10000 + ((code - 0xD800) << 10) + (UnitAt(units, at++) - 0xDC00U);
    } else if (IsHighSurrogate(code) || IsLowSurrogate(code)) {
      code = 0xFFFD;
    }
    out = WriteCodePoint(code, out);
  }
  return out;
}

// A unit takes one to three bytes, two that make a pair four in all. Both sums are plain loops, so
// that they run many units at a time.
std::size_t Utf8Size(const std::uint8_t* units, std::size_t count) {
  while (count > 0 && UnitAt(units, count - 1) == 0) --count;
  std::size_t size = 0;
  for (std::size_t i = 0; i < count; ++i) {
    const std::uint32_t unit = UnitAt(units, i);
    size += 1U + (unit >= 0x80 ? 1U : 0U) + (unit >= 0x800 ? 1U : 0U);
  }
  std::size_t pairs = 0;
  for (std::size_t i = 0; i + 1 < count; ++i) {
    pairs += (UnitAt(units, i) & 0xFC00U) == 0xD800U && (UnitAt(units, i + 1) & 0xFC00U) == 0xDC00U;
  }
  return size - 2 * pairs;
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

bool ContainsNoCase(std::string_view text, std::string_view lowered_needle) {
  return std::search(text.begin(), text.end(), lowered_needle.begin(), lowered_needle.end(),
                     [](char x, char y) { return LowerAscii(x) == y; }) != text.end() ||
         lowered_needle.empty();
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

char* WriteDecimal(std::uint64_t value, char* out) {
  return std::to_chars(out, out + 20, value).ptr;
}

char* WriteDecimal(std::int64_t value, char* out) {
  return std::to_chars(out, out + 20, value).ptr;
}

namespace {

// The eight hexadecimal digits of `value` as the bytes of a number, the first digit lowest: nibbles
// are spread over bytes and turned into characters all at once.
std::uint64_t EightHexDigits(std::uint32_t value) {
  std::uint64_t nibbles = value;
  nibbles = (nibbles << 16 | nibbles) & 0x0000FFFF0000FFFF;
  nibbles = (nibbles << 8 | nibbles) & 0x00FF00FF00FF00FF;
  nibbles = (nibbles << 4 | nibbles) & 0x0F0F0F0F0F0F0F0F;
  const std::uint64_t letters = ((nibbles + 0x0606060606060606) >> 4) & 0x0101010101010101;
  const std::uint64_t digits = nibbles + 0x3030303030303030 + letters * ('a' - '0' - 10);
  return __builtin_bswap64(digits);
}

}  // namespace

char* WriteHex8(std::uint32_t value, char* out) {
  const std::uint64_t digits = EightHexDigits(value);
  std::memcpy(out, &digits, sizeof digits);
  return out + sizeof digits;
}

char* WriteHex16(std::uint64_t value, char* out) {
  return WriteHex8(static_cast<std::uint32_t>(value),
                   WriteHex8(static_cast<std::uint32_t>(value >> 32), out));
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
