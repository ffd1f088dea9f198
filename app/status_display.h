// The status line on a terminal: drawn over itself, and wiped before anything else is written
// there.
#pragma once

#include <cstddef>
#include <functional>
#include <string>
#include <string_view>

namespace tarnlex {

struct StatusDisplay {
  std::function<bool(std::string_view)> write = {};  // to the terminal, as it is
  std::function<std::size_t()> columns = {};         // of the terminal, at present
  std::size_t width = 0;                             // of the line that stands there
};

// One column is left free, as terminals go on to the next line when the last one is written.
std::size_t RoomFor(const StatusDisplay& display);

// Shows `text`, which is no wider than RoomFor says.
void Draw(StatusDisplay& display, std::string_view text);

// Leaves an empty line and the cursor at its start.
void Wipe(StatusDisplay& display);

// A target for what else goes to the terminal; `display` must outlive it.
std::function<bool(std::string_view)> WipeBefore(StatusDisplay& display,
                                                 std::function<bool(std::string_view)> write);

}  // namespace tarnlex
