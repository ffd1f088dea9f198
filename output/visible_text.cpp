#include "output/visible_text.h"

#include <algorithm>
#include <cstdint>
#include <utility>

#include "logs/text.h"
#include "logs/utf8.h"

namespace tarnlex {
namespace {

std::uint8_t ByteAt(std::string_view text, std::size_t at) {
  return static_cast<std::uint8_t>(text[at]);
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
                     const Utf8Character& next) {
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
    const Utf8Character next = NextUtf8(piece);
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
