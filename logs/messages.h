// Lines for the person at the console: written to standard error at once, never held back.
#pragma once

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

}  // namespace tarnlex
