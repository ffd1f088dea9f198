#include "app/screen.h"

#include "logs/platform.h"

namespace tarnlex {

void FitToScreen(RunOptions& options, const Console& console) {
  const bool shown = console.out_is_terminal && !options.to_file && !options.have_out_dir;
  if (shown && !options.card_width) options.card_width = console.out_width;
}

bool WantsColor(const RunOptions& options, const Console& console) {
  if (options.color == ColorUse::kNever) return false;
  if (options.color == ColorUse::kAlways) {
    if (console.out_is_terminal) EnableTerminalColors();
    return true;
  }
  return console.out_is_terminal && Environment("NO_COLOR").value_or("").empty() &&
         EnableTerminalColors();
}

}  // namespace tarnlex
