// Texts of UTF-16 units that hold characters which their form writes otherwise: the sixteen units
// of a block are converted at once, and what stands behind an escape is put in its place anew.
#pragma once

#include <algorithm>
#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string_view>

#include "logs/bytes.h"
#include "logs/plain_ascii.h"

namespace tarnlex {

// What is written in place of a character.
struct Escape {
  std::array<char, 7> text{};
  std::uint8_t size = 0;  // 0: none that is the same wherever the character stands
};

// By character.
using Escapes = std::array<Escape, 0x80>;

constexpr void SetEscape(Escapes& escapes, char c, std::string_view text) {
  Escape& escape = escapes[static_cast<std::size_t>(c)];
  std::copy(text.begin(), text.end(), escape.text.begin());
  escape.size = static_cast<std::uint8_t>(text.size());
}

// The same for units, of which a zero is a blank.
constexpr Escapes ForUnits(Escapes escapes) {
  SetEscape(escapes, '\0', " ");
  return escapes;
}

// The escape of a unit; one of no size for what has none.
inline const Escape& EscapeOf(const Escapes& escapes, std::uint16_t unit) {
  static constexpr Escape kNone;
  return unit < escapes.size() ? escapes[unit] : kNone;
}

#if defined(__SSE2__)

// The sixteen units at `at`, of which only those in `special` are looked at; there are as many
// behind them. Returns how many were written.
inline std::size_t WriteBlock(const std::uint8_t* at, unsigned special, const Escapes& escapes,
                              char*& out) {
  const auto put = [&out, at](std::size_t first) {
    _mm_storeu_si128(reinterpret_cast<__m128i*>(out + first), PackUnits(at + 2 * first));
  };
  for (put(0); special != 0; special &= special - 1) {
    const auto place = static_cast<std::size_t>(std::countr_zero(special));
    const Escape& escape = EscapeOf(escapes, Load<std::uint16_t>(at + 2 * place));
    if (escape.size == 0) {
      out += place;
      return place;
    }
    std::memcpy(out + place, &escape, sizeof escape);
    out += escape.size - 1;
    put(place + 1);
  }
  return kPlainAsciiBlock;
}

#endif

// Writes units at the beginning of `from`, which holds `count` of them at least, up to the first
// that has no escape and is no printable ASCII character; `kOthers` are the printable ones that
// have an escape. Returns how many were written; `out` moves behind them. There is room for their
// escapes and two blocks.
template <char... kOthers>
std::size_t WriteEscapedUnits(Bytes from, std::size_t count, const Escapes& escapes, char*& out) {
  std::size_t done = 0;
#if defined(__SSE2__)
  constexpr std::size_t kRead = 4 * kPlainAsciiBlock;
  for (; done < count && from.size() - 2 * done >= kRead; done += kPlainAsciiBlock) {
    const std::uint8_t* const at = from.data() + 2 * done;
    const std::size_t own = std::min(count - done, kPlainAsciiBlock);
    const unsigned special = NotPlain<kOthers...>(PackUnits(at)) & ((1U << own) - 1);
    const std::size_t written = WriteBlock(at, special, escapes, out);
    if (written < kPlainAsciiBlock) return done + written;
    out += own;
  }
#endif
  for (; done < count; ++done) {
    const auto unit = Load<std::uint16_t>(from.data() + 2 * done);
    const Escape& escape = EscapeOf(escapes, unit);
    if (escape.size == 0 && (unit < ' ' || unit >= 0x80)) return done;
    *out = static_cast<char>(unit);
    std::memcpy(out, escape.text.data(), escape.size);
    out += std::max<std::size_t>(escape.size, 1);
  }
  return count;
}

}  // namespace tarnlex
