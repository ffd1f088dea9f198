// Lines for the person at the console: written to standard error at once, never held back.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "logs/text_sink.h"

namespace tarnlex {

inline void Say(TextSink& messages, std::string_view text) { AppendNow(messages, text); }

// `head`, a name, and `tail` in one line.
inline void Say(TextSink& messages, std::string_view head, std::string_view name,
                std::string_view tail) {
  Say(messages, std::string(head).append(name).append(tail));
}

// "1 log" or "2 logs".
inline std::string Counted(std::uint64_t count, std::string_view one, std::string_view many) {
  return std::to_string(count).append(" ").append(count == 1 ? one : many);
}

}  // namespace tarnlex
