// What a log's author wrote must not act on the terminal of whoever reads it: characters that move
// a cursor, answer, colour, hide or turn text around are shown instead of being sent.
#pragma once

#include <functional>
#include <string>
#include <string_view>

namespace tarnlex {

// Turns text that arrives in pieces into text that is safe on a terminal. C0 characters, DEL and
// bytes that are no UTF-8 are written "\x1b", C1 characters and the Unicode controls of direction
// "\u202e". "\n" and the characters of `kept` pass.
struct VisibleText {
  std::string kept;     // program's own controls: a tab as separator, say
  std::string pending;  // the beginning of a character whose rest is still to come
};

// The visible form of the next piece, together with what was pending.
std::string MakeVisible(VisibleText& state, std::string_view piece);

// A sink's target in front of `write`; `state` must outlive it.
std::function<bool(std::string_view)> ShowControls(VisibleText& state,
                                                   std::function<bool(std::string_view)> write);

}  // namespace tarnlex
