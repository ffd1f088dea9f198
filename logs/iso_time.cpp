#include "logs/iso_time.h"

#include <algorithm>
#include <chrono>
#include <cstring>

#include "logs/clock_text.h"
#include "logs/date_time.h"
#include "logs/text.h"

namespace tarnlex {
namespace {

constexpr std::int64_t kSecondsPerDay = 86'400;
constexpr int kDaysFrom1601 = 134'774;  // to 1970

// The years of a SYSTEMTIME; a FILETIME ends within the year behind them.
constexpr std::uint16_t kFirstYear = 1601;
constexpr std::uint16_t kLastYear = 30'827;

// Reads exactly `digits` digits off the front of `text`.
bool TakeNumber(std::string_view& text, std::size_t digits, int& number) {
  if (text.size() < digits) return false;
  number = 0;
  for (const char c : text.substr(0, digits)) {
    if (c < '0' || c > '9') return false;
    number = 10 * number + (c - '0');
  }
  text.remove_prefix(digits);
  return true;
}

bool TakeOneOf(std::string_view& text, std::string_view characters) {
  const auto is_next = [&text](char c) { return c == text[0]; };
  if (text.empty() || std::none_of(characters.begin(), characters.end(), is_next)) return false;
  text.remove_prefix(1);
  return true;
}

// Days since 1970.
bool TakeDate(std::string_view& text, std::int64_t& days) {
  int year = 0;
  int month = 0;
  int day = 0;
  if (!TakeNumber(text, 4, year) || !TakeOneOf(text, "-") || !TakeNumber(text, 2, month) ||
      !TakeOneOf(text, "-") || !TakeNumber(text, 2, day)) {
    return false;
  }
  const std::chrono::year_month_day date{std::chrono::year{year},
                                         std::chrono::month{static_cast<unsigned>(month)},
                                         std::chrono::day{static_cast<unsigned>(day)}};
  if (!date.ok()) return false;
  days = std::chrono::sys_days{date}.time_since_epoch().count();
  return true;
}

// Seconds of the day.
bool TakeClock(std::string_view& text, std::int64_t& seconds) {
  int hour = 0;
  int minute = 0;
  int second = 0;
  if (!TakeNumber(text, 2, hour) || !TakeOneOf(text, ":") || !TakeNumber(text, 2, minute) ||
      !TakeOneOf(text, ":") || !TakeNumber(text, 2, second)) {
    return false;
  }
  seconds = 3600 * std::int64_t{hour} + 60 * minute + second;
  return hour <= 23 && minute <= 59 && second <= 59;
}

// 100 ns; what is finer is cut.
bool TakeFraction(std::string_view& text, std::int64_t& ticks) {
  if (!TakeOneOf(text, ".,")) return true;
  std::int64_t weight = static_cast<std::int64_t>(kTicksPerSecond) / 10;
  std::size_t digits = 0;
  for (; digits < text.size() && text[digits] >= '0' && text[digits] <= '9'; ++digits) {
    ticks += weight * (text[digits] - '0');
    weight /= 10;
  }
  text.remove_prefix(digits);
  return digits > 0;
}

// Seconds that the clock is ahead of UTC.
bool TakeOffset(std::string_view& text, std::int64_t& seconds) {
  if (text.empty() || TakeOneOf(text, "Zz")) return true;
  const bool behind = text[0] == '-';
  int hours = 0;
  int minutes = 0;
  if (!TakeOneOf(text, "+-") || !TakeNumber(text, 2, hours)) return false;
  TakeOneOf(text, ":");
  if (!TakeNumber(text, 2, minutes) || hours > 23 || minutes > 59) return false;
  seconds = 3600 * std::int64_t{hours} + 60 * minutes;
  if (behind) seconds = -seconds;
  return true;
}

// An instant out of days since 1970, seconds and ticks; false for one before 1601.
bool Combine(std::int64_t days, std::int64_t seconds, std::int64_t ticks, std::uint64_t& filetime) {
  const std::int64_t since_1970 =
      (days * kSecondsPerDay + seconds) * static_cast<std::int64_t>(kTicksPerSecond) + ticks;
  const std::int64_t since_1601 = since_1970 + static_cast<std::int64_t>(kUnixEpochFiletime);
  if (since_1601 < 0) return false;
  filetime = static_cast<std::uint64_t>(since_1601);
  return true;
}

}  // namespace

bool ParseIsoTime(std::string_view text, std::uint64_t& filetime) {
  text = Trim(text);
  std::int64_t days = 0;
  std::int64_t clock = 0;
  std::int64_t ticks = 0;
  std::int64_t ahead = 0;
  if (!TakeDate(text, days) || !TakeOneOf(text, "Tt ") || !TakeClock(text, clock) ||
      !TakeFraction(text, ticks) || !TakeOffset(text, ahead) || !text.empty()) {
    return false;
  }
  return Combine(days, clock - ahead, ticks, filetime);
}

char* WriteIsoTime(std::uint64_t filetime, char* out) {
  constexpr std::uint64_t kTicksPerDay = kTicksPerSecond * kSecondsPerDay;
  const auto day = static_cast<int>(filetime / kTicksPerDay);
  const std::chrono::year_month_day date{std::chrono::sys_days{std::chrono::days{day}} -
                                         std::chrono::days{kDaysFrom1601}};
  const std::uint64_t of_day = filetime % kTicksPerDay;
  const auto year = static_cast<unsigned>(static_cast<int>(date.year()));
  if (year > 9999) *out++ = static_cast<char>('0' + year / 10'000);
  WriteTwo(out, year / 100 % 100);
  WriteTwo(out + 2, year % 100);
  WriteTwo(out + 5, static_cast<unsigned>(date.month()));
  WriteTwo(out + 8, static_cast<unsigned>(date.day()));
  out[4] = out[7] = '-';
  out[10] = 'T';
  char* const end = WriteClock(out + 11, static_cast<unsigned>(of_day / kTicksPerSecond),
                               static_cast<unsigned>(of_day % kTicksPerSecond));
  *end = 'Z';
  return end + 1;
}

bool ReadSystemTime(Bytes bytes, std::uint64_t& filetime) {
  std::uint16_t fields[8];
  if (bytes.size() < sizeof fields) return false;
  std::memcpy(fields, bytes.data(), sizeof fields);
  if (fields[0] < kFirstYear || fields[0] > kLastYear) return false;
  const std::chrono::year_month_day date{
      std::chrono::year{fields[0]}, std::chrono::month{fields[1]}, std::chrono::day{fields[3]}};
  if (!date.ok() || fields[4] > 23 || fields[5] > 59 || fields[6] > 59 || fields[7] > 999) {
    return false;
  }
  const std::int64_t clock = 3600 * std::int64_t{fields[4]} + 60 * fields[5] + fields[6];
  return Combine(std::chrono::sys_days{date}.time_since_epoch().count(), clock,
                 std::int64_t{fields[7]} * 10'000, filetime);
}

}  // namespace tarnlex
