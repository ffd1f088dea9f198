// What a terminal shows of what it was sent: just enough of one for a line that is drawn over
// itself.
#pragma once

#include <algorithm>
#include <cstddef>
#include <string>
#include <string_view>

namespace tarnlex::support {

inline std::string WithoutBlanks(std::string line) {
  line.erase(line.find_last_not_of(' ') + 1);
  return line;
}

// Lines without the blanks at their ends; only the last one can be drawn over. Ends with a "^"
// where the terminal, of so many columns, would have gone on to another line by itself.
inline std::string ScreenOf(std::string_view sent, std::size_t columns) {
  std::string done;
  std::string line;
  std::size_t at = 0;
  for (const char c : sent) {
    if (c == '\r') {
      at = 0;
    } else if (c == '\b') {
      at -= std::min<std::size_t>(at, 1);
    } else if (c == '\n') {
      done += WithoutBlanks(line) + "\n";
      line.clear();
      at = 0;
    } else {
      if (at == columns) return done + line + "^";
      line.resize(std::max(line.size(), at + 1), ' ');
      line[at++] = c;
    }
  }
  return done + WithoutBlanks(line);
}

}  // namespace tarnlex::support
