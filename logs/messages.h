// Lines for the person at the console: written to standard error at once, never held back.
#pragma once

#include <string>
#include <string_view>

#include "logs/run_options.h"

namespace tarnlex {

inline void Say(const RunOptions& options, std::string_view text) {
  if (options.messages != nullptr) AppendNow(*options.messages, text);
}

// `head`, a name, and `tail` in one line.
inline void Say(const RunOptions& options, std::string_view head, std::string_view name,
                std::string_view tail) {
  Say(options, std::string(head).append(name).append(tail));
}

}  // namespace tarnlex
