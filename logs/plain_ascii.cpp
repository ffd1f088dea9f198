#include "logs/plain_ascii.h"

#include <algorithm>
#include <bit>

#include "logs/text.h"

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

namespace tarnlex {

#if defined(__SSE2__)

namespace {

__m128i LoadUnits(const std::uint8_t* at) {
  return _mm_loadu_si128(reinterpret_cast<const __m128i*>(at));  // unaligned by design
}

__m128i PackUnits(const std::uint8_t* at) {
  return _mm_packus_epi16(LoadUnits(at), LoadUnits(at + kPlainAsciiBlock));
}

// Bits of the characters that are not plain. A unit above 0xFF has become 0xFF or 0 when it was
// packed, and what is above 0x7F is less than a blank when bytes are signed.
template <char... kOthers>
unsigned NotPlain(__m128i characters) {
  __m128i found = _mm_cmplt_epi8(characters, _mm_set1_epi8(' '));
  ((found = _mm_or_si128(found, _mm_cmpeq_epi8(characters, _mm_set1_epi8(kOthers)))), ...);
  return static_cast<unsigned>(_mm_movemask_epi8(found));
}

// Texts without the characters.
template <char... kOthers>
char* WriteAscii(Bytes bytes, std::size_t offset, std::size_t count, char* out) {
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
  return out + count;
}

}  // namespace

#else

namespace {

template <char... kOthers>
char* WriteAscii(Bytes bytes, std::size_t offset, std::size_t count, char* out) {
  if (!Fits(bytes, offset, 2 * count)) return nullptr;
  const std::uint8_t* from = bytes.data() + offset;
  count = UnitsWithoutZerosAtEnd(from, count);
  for (std::size_t i = 0; i < count; ++i) {
    const std::uint16_t unit = Load<std::uint16_t>(from + 2 * i);
    if (unit < ' ' || unit >= 0x80 || ((unit == kOthers) || ...)) return nullptr;
    out[i] = static_cast<char>(unit);
  }
  return out + count;
}

}  // namespace

#endif

std::size_t CopyQuotableAscii(Bytes from, std::size_t count, char* out) {
  std::size_t done = 0;
#if defined(__SSE2__)
  for (; done < count && from.size() >= 2 * (done + kPlainAsciiBlock); done += kPlainAsciiBlock) {
    const __m128i characters = PackUnits(from.data() + 2 * done);
    const unsigned special = NotPlain<'"', '\\'>(characters);
    _mm_storeu_si128(reinterpret_cast<__m128i*>(out + done), characters);
    if (special != 0) {
      return std::min(done + static_cast<std::size_t>(std::countr_zero(special)), count);
    }
  }
#endif
  for (; done < count; ++done) {
    const auto unit = Load<std::uint16_t>(from.data() + 2 * done);
    if (unit < ' ' || unit >= 0x80 || unit == '"' || unit == '\\') break;
    out[done] = static_cast<char>(unit);
  }
  return std::min(done, count);
}

char* WritePlainAscii(Bytes bytes, std::size_t offset, std::size_t count, char* out) {
  return WriteAscii<',', '|'>(bytes, offset, count, out);
}

char* WriteXmlAscii(Bytes bytes, std::size_t offset, std::size_t count, char* out) {
  return WriteAscii<'&', '<', '>', '"'>(bytes, offset, count, out);
}

char* WriteQuotableAscii(Bytes bytes, std::size_t offset, std::size_t count, char* out) {
  return WriteAscii<'"', '\\'>(bytes, offset, count, out);
}

}  // namespace tarnlex
