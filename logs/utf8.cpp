#include "logs/utf8.h"

#include <algorithm>

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

namespace tarnlex {
namespace {

std::uint8_t ByteAt(std::string_view text, std::size_t at) {
  return static_cast<std::uint8_t>(text[at]);
}

std::size_t SizeByLead(std::uint8_t lead) {
  if (lead < 0x80) return 1;
  if (lead >= 0xC2 && lead < 0xE0) return 2;
  if (lead >= 0xE0 && lead < 0xF0) return 3;
  return lead >= 0xF0 && lead < 0xF5 ? 4 : 0;
}

// Overlong forms are no UTF-8, nor are surrogates and what lies behind the last code point.
bool IsShortest(std::uint32_t code, std::size_t size) {
  constexpr std::uint32_t kLeast[] = {0, 0, 0x80, 0x800, 0x10000};
  return code >= kLeast[size] && code <= 0x10FFFF && (code < 0xD800 || code > 0xDFFF);
}

// Text is ASCII mostly: looked at many bytes at a time.
constexpr std::size_t kAsciiBlock = 64;

#if defined(__SSE2__)

bool IsAsciiBlock(const char* at) {
  __m128i any = _mm_setzero_si128();
  for (std::size_t i = 0; i < kAsciiBlock; i += sizeof any) {
    any = _mm_or_si128(any,
                       _mm_loadu_si128(reinterpret_cast<const __m128i*>(at + i)));  // unaligned
  }
  return _mm_movemask_epi8(any) == 0;
}

#else

bool IsAsciiBlock(const char* at) {
  return std::all_of(at, at + kAsciiBlock, [](char c) { return c >= 0; });
}

#endif

// A multiple of the block's size that begins the text and is all ASCII.
std::size_t AsciiBlocks(std::string_view text) {
  std::size_t at = 0;
  for (; text.size() - at >= 2 * kAsciiBlock; at += 2 * kAsciiBlock) {
    const char* const two = text.data() + at;
    if (!IsAsciiBlock(two) || !IsAsciiBlock(two + kAsciiBlock)) break;
  }
  for (; text.size() - at >= kAsciiBlock; at += kAsciiBlock) {
    if (!IsAsciiBlock(text.data() + at)) break;
  }
  return at;
}

}  // namespace

Utf8Character NextUtf8(std::string_view text) {
  Utf8Character next;
  const std::size_t size = SizeByLead(ByteAt(text, 0));
  if (size == 0) return next;
  std::uint32_t code = size == 1 ? ByteAt(text, 0) : ByteAt(text, 0) & (0x7FU >> size);
  for (std::size_t i = 1; i < size; ++i) {
    if (i == text.size()) {
      next.cut = true;
      return next;
    }
    if ((ByteAt(text, i) & 0xC0) != 0x80) return next;
    code = code << 6 | (ByteAt(text, i) & 0x3FU);
  }
  if (!IsShortest(code, size)) return next;
  return {code, size, true, false};
}

std::size_t ValidUtf8(std::string_view text) {
  std::size_t at = 0;
  while (at < text.size()) {
    at += AsciiBlocks(text.substr(at));
    // Once around behind a block that is not all ASCII, or to the end.
    const std::size_t end = std::min(at + kAsciiBlock, text.size());
    while (at < end) {
      const Utf8Character next = NextUtf8(text.substr(at));
      if (!next.valid) return at;
      at += next.size;
    }
  }
  return at;
}

}  // namespace tarnlex
