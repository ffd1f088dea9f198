#include "app/status_display.h"

#include <algorithm>
#include <utility>

#include "output/run_status.h"

namespace tarnlex {
namespace {

// A terminal shows "^C" behind the line when that is typed.
constexpr std::size_t kTyped = 2;

std::string Wiping(const StatusDisplay& display) {
  if (display.width == 0) return {};
  const std::size_t width = std::min(display.width + kTyped, RoomFor(display));
  return "\r" + std::string(width, ' ') + "\r";
}

}  // namespace

std::size_t RoomFor(const StatusDisplay& display) {
  const std::size_t columns = display.columns ? display.columns() : 0;
  return columns > 0 ? columns - 1 : 0;
}

void Draw(StatusDisplay& display, std::string_view text) {
  display.write(Wiping(display).append(text));
  display.width = TextColumns(text);
}

void Wipe(StatusDisplay& display) {
  if (display.width > 0) display.write(Wiping(display));
  display.width = 0;
}

std::function<bool(std::string_view)> WipeBefore(StatusDisplay& display,
                                                 std::function<bool(std::string_view)> write) {
  return [&display, next = std::move(write)](std::string_view text) {
    if (!text.empty()) Wipe(display);
    return next(text);
  };
}

}  // namespace tarnlex
