#include "logs/date_time.h"

#include <chrono>
#include <limits>

namespace tarnlex {
namespace {

constexpr std::uint64_t kSecondsFrom1601To1970 = 11'644'473'600;
constexpr std::uint64_t kSecondsPerDay = 86'400;
constexpr std::uint64_t kLow32Offset = 12'591'219'600;

// (value + offset) * ticks; 0 when that does not fit, which is an invalid instant.
std::uint64_t Scaled(std::uint64_t value, std::uint64_t offset, std::uint64_t ticks) {
  constexpr std::uint64_t kMax = std::numeric_limits<std::uint64_t>::max();
  if (value > kMax - offset || value + offset > kMax / ticks) return 0;
  return (value + offset) * ticks;
}

std::uint64_t FiletimeOf(std::uint64_t value, TimeKind kind) {
  switch (kind) {
    case TimeKind::kFiletime: return value;
    case TimeKind::kMicrosecondsSince1601: return Scaled(value, 0, 10);
    case TimeKind::kUnixMicroseconds: return Scaled(value, kSecondsFrom1601To1970 * 1'000'000, 10);
    case TimeKind::kUnixSeconds:
      return value == 0 ? 0 : Scaled(value, kSecondsFrom1601To1970, kTicksPerSecond);
    case TimeKind::kLow32Seconds: return Scaled(value & 0xFFFFFFFF, kLow32Offset, kTicksPerSecond);
  }
  return 0;
}

void FillCalendar(DateTimeFields& fields) {
  using std::chrono::days;
  using std::chrono::sys_days;
  const auto unix_seconds = static_cast<std::uint64_t>(fields.unix_seconds);
  const sys_days day{days{static_cast<int>(unix_seconds / kSecondsPerDay)}};
  const std::chrono::year_month_day date{day};
  const auto of_day = static_cast<unsigned>(unix_seconds % kSecondsPerDay);
  const std::uint64_t rest = fields.filetime % kTicksPerSecond;
  fields.year = static_cast<std::uint16_t>(static_cast<int>(date.year()));
  fields.month = static_cast<std::uint16_t>(static_cast<unsigned>(date.month()));
  fields.day = static_cast<std::uint16_t>(static_cast<unsigned>(date.day()));
  fields.day_of_week = static_cast<std::uint16_t>(std::chrono::weekday{day}.c_encoding());
  fields.hour = static_cast<std::uint16_t>(of_day / 3600);
  fields.minute = static_cast<std::uint16_t>(of_day / 60 % 60);
  fields.second = static_cast<std::uint16_t>(of_day % 60);
  fields.millisecond = static_cast<std::uint16_t>(rest / 10'000);
  fields.microsecond = rest / 10;
  fields.nanosecond = rest * 100;
  fields.tm.tm_yday = static_cast<int>((day - sys_days{date.year() / 1 / 1}).count());
}

void FillTm(DateTimeFields& fields) {
  fields.tm.tm_year = fields.year - 1900;
  fields.tm.tm_mon = fields.month - 1;
  fields.tm.tm_mday = fields.day;
  fields.tm.tm_hour = fields.hour;
  fields.tm.tm_min = fields.minute;
  fields.tm.tm_sec = fields.second;
  fields.tm.tm_wday = fields.day_of_week;
}

void FillDosTime(DateTimeFields& fields) {
  if (fields.year < 1980 || fields.year > 2037) return;
  fields.dos_date =
      static_cast<std::uint16_t>((fields.year - 1980) << 9 | fields.month << 5 | fields.day);
  fields.dos_time =
      static_cast<std::uint16_t>(fields.hour << 11 | fields.minute << 5 | (fields.second + 1) / 2);
}

bool InRange(int value, int least, int most) { return value >= least && value <= most; }

}  // namespace

DateTimeFields MakeDateTime(std::uint64_t value, TimeKind kind) {
  DateTimeFields fields;
  fields.filetime = FiletimeOf(value, kind);
  fields.filetime_low = static_cast<std::uint32_t>(fields.filetime);
  fields.filetime_high = static_cast<std::uint32_t>(fields.filetime >> 32);
  if (fields.filetime == 0) return fields;
  fields.unix_seconds =
      static_cast<std::int64_t>((fields.filetime - kUnixEpochFiletime) / kTicksPerSecond);
  if (!IsValidFiletime(fields.filetime)) return fields;
  FillCalendar(fields);
  FillTm(fields);
  FillDosTime(fields);
  fields.valid = true;
  return fields;
}

bool MakeDateTimeFromTm(const std::tm& tm, DateTimeFields& fields) {
  fields = {};
  if (!InRange(tm.tm_year, 70, 3001 - 1900) || !InRange(tm.tm_mon, 0, 11) ||
      !InRange(tm.tm_mday, 1, 31) || !InRange(tm.tm_hour, 0, 23) || !InRange(tm.tm_min, 0, 59) ||
      !InRange(tm.tm_sec, 0, 59)) {
    return false;
  }
  const std::chrono::year_month_day date{std::chrono::year{tm.tm_year + 1900},
                                         std::chrono::month{static_cast<unsigned>(tm.tm_mon) + 1},
                                         std::chrono::day{static_cast<unsigned>(tm.tm_mday)}};
  if (!date.ok()) return false;
  const auto days =
      static_cast<std::uint64_t>(std::chrono::sys_days{date}.time_since_epoch().count());
  const auto of_day = std::uint64_t{3600} * static_cast<unsigned>(tm.tm_hour) +
                      std::uint64_t{60} * static_cast<unsigned>(tm.tm_min) +
                      static_cast<unsigned>(tm.tm_sec);
  fields = MakeDateTime(days * kSecondsPerDay + of_day, TimeKind::kUnixSeconds);
  return fields.valid;
}

}  // namespace tarnlex
