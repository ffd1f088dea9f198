#include "logs/time_bounds.h"

#include <charconv>
#include <string>

#include "logs/date_time.h"
#include "logs/iso_time.h"
#include "logs/parse_number.h"
#include "logs/text.h"

namespace tarnlex {
namespace {

constexpr std::size_t kDateSize = 10;     // "2023-03-14"
constexpr std::size_t kMinutesSize = 16;  // "2023-03-14T11:00"

// What ISO 8601 lets be left out is put in: the time of day, or its seconds.
std::string WithSeconds(std::string_view text) {
  std::string whole(Trim(text));
  if (whole.size() == kDateSize) return whole + "T00:00:00";
  const bool ends_there = whole.size() == kMinutesSize;
  if (ends_there || (whole.size() > kMinutesSize && whole[kMinutesSize] != ':')) {
    whole.insert(kMinutesSize, ":00");
  }
  return whole;
}

std::uint64_t SecondsOfUnit(char unit) {
  switch (LowerAscii(unit)) {
    case 'w': return 7 * 86'400;
    case 'd': return 86'400;
    case 'h': return 3600;
    case 'm': return 60;
    case 's': return 1;
    default: return 0;
  }
}

// Reads "-12h" into ticks.
bool ParseWhile(std::string_view text, std::uint64_t& ticks) {
  text = Trim(text);
  if (text.size() < 3 || text.front() != '-') return false;
  const std::uint64_t unit = SecondsOfUnit(text.back());
  text = text.substr(1, text.size() - 2);
  constexpr std::size_t kMostDigits = 6;  // none leads out of 64 bits
  if (unit == 0 || text.size() > kMostDigits || !IsDecimal(text)) return false;
  std::uint64_t count = 0;
  std::from_chars(text.data(), text.data() + text.size(), count);
  ticks = count * unit * kTicksPerSecond;
  return true;
}

// An instant that needs no other: false for a while.
bool ParseAbsolute(std::string_view text, std::uint64_t now, std::uint64_t& filetime) {
  if (!EqualsNoCase(Trim(text), "now")) return ParseTimeByItself(text, filetime);
  filetime = now;
  return true;
}

// False when the text is no such while, or leads out of time.
bool ParseBefore(std::string_view text, std::uint64_t reference, std::uint64_t& filetime) {
  std::uint64_t ticks = 0;
  if (!ParseWhile(text, ticks) || ticks >= reference) return false;
  filetime = reference - ticks;
  return true;
}

}  // namespace

TimeBounds ReadTimeBounds(std::string_view start, std::string_view stop, std::uint64_t now) {
  TimeBounds bounds;
  const bool stop_by_itself = ParseAbsolute(stop, now, bounds.stop);
  if (!stop.empty() && !stop_by_itself) {
    bounds.stop_unreadable = !ParseBefore(stop, now, bounds.stop);
  }
  if (!start.empty() && !ParseAbsolute(start, now, bounds.start)) {
    bounds.start_unreadable = !ParseBefore(start, stop_by_itself ? bounds.stop : now, bounds.start);
  }
  return bounds;
}

bool ParseTimeByItself(std::string_view text, std::uint64_t& filetime) {
  return ParseTimeArgument(text, filetime) ||
         (ParseIsoTime(WithSeconds(text), filetime) && filetime != 0);
}

}  // namespace tarnlex
