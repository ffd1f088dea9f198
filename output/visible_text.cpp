#include "output/visible_text.h"

#include <algorithm>
#include <cstdint>
#include <utility>

#include "logs/text.h"

namespace tarnlex {
namespace {

struct Character {
  std::uint32_t code = 0;
  std::size_t size = 1;
  bool valid = false;
  bool cut = false;  // the text ends inside of it
};

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

Character NextCharacter(std::string_view text) {
  Character next;
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

bool IsDirectionControl(std::uint32_t code) {
  return code == 0x061C || code == 0x200E || code == 0x200F || (code >= 0x202A && code <= 0x202E) ||
         (code >= 0x2066 && code <= 0x2069);
}

void AppendHex(std::string& out, std::string_view mark, std::uint32_t code, int digits) {
  char text[8];
  out.append(mark).append(text, WriteHex(code, digits, text));
}

void AppendCharacter(std::string& out, const VisibleText& state, std::string_view text,
                     const Character& next) {
  const bool kept = text[0] == '\n' || state.kept.find(text[0]) != std::string::npos;
  if (!next.valid || (!kept && (next.code < 0x20 || next.code == 0x7F))) {
    AppendHex(out, "\\x", ByteAt(text, 0), 2);
  } else if ((next.code >= 0x80 && next.code < 0xA0) || IsDirectionControl(next.code)) {
    AppendHex(out, "\\u", next.code, 4);
  } else {
    out.append(text.substr(0, next.size));
  }
}

bool IsPlain(char c) { return c >= ' ' && c < '\x7F'; }

}  // namespace

std::string MakeVisible(VisibleText& state, std::string_view piece) {
  std::string joined;
  if (!state.pending.empty()) {
    joined = std::exchange(state.pending, {}).append(piece);
    piece = joined;
  }
  std::string out;
  out.reserve(piece.size());
  while (!piece.empty()) {
    const auto plain = std::find_if_not(piece.begin(), piece.end(), IsPlain);
    out.append(piece.begin(), plain);
    piece.remove_prefix(static_cast<std::size_t>(plain - piece.begin()));
    if (piece.empty()) break;
    const Character next = NextCharacter(piece);
    if (next.cut) {
      state.pending = piece;
      break;
    }
    AppendCharacter(out, state, piece, next);
    piece.remove_prefix(next.size);
  }
  return out;
}

std::function<bool(std::string_view)> ShowControls(VisibleText& state,
                                                   std::function<bool(std::string_view)> write) {
  return [&state, write = std::move(write)](std::string_view piece) {
    return write(MakeVisible(state, piece));
  };
}

}  // namespace tarnlex
