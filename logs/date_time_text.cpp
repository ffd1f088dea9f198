// Instants as text: the run's formats, and the fixed forms that event data uses.
#include <chrono>
#include <cstring>

#include "logs/clock_text.h"
#include "logs/date_time.h"
#include "logs/text.h"

namespace tarnlex {
namespace {

constexpr std::string_view kMonths[] = {"Jan", "Feb", "Mar", "Apr", "May", "Jun",
                                        "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};
constexpr std::uint64_t kSecondsPerDay = 86'400;
constexpr std::size_t kNone = std::string_view::npos;

char* WriteDigits(char* out, unsigned value, int digits) {
  char* at = out + digits;
  for (; at - out >= 2; value /= 100) WriteTwo(at -= 2, value % 100);
  if (at != out) *out = static_cast<char>('0' + value % 10);
  return out + digits;
}

char* WriteText(char* out, std::string_view text) {
  std::memcpy(out, text.data(), text.size());
  return out + text.size();
}

// What of an instant the texts need.
struct DayParts {
  unsigned year = 0;
  unsigned month = 0;
  unsigned day = 0;
};
struct ClockParts {
  unsigned second_of_day = 0;
  unsigned ticks = 0;  // 100 ns, of the second
};

DayParts SplitDay(int days_since_1970) {
  const std::chrono::year_month_day date{std::chrono::sys_days{std::chrono::days{days_since_1970}}};
  return {static_cast<unsigned>(static_cast<int>(date.year())), static_cast<unsigned>(date.month()),
          static_cast<unsigned>(date.day())};
}

char* WriteMonth(char* out, const DateTimePlan& plan, unsigned month) {
  return plan.month_name ? WriteText(out, MonthAbbrev(static_cast<int>(month)))
                         : WriteTwo(out, month);
}

char* WriteYear(char* out, const DateTimePlan& plan, unsigned year) {
  return plan.short_year ? WriteTwo(out, year % 100) : WriteDigits(out, year, 4);
}

char* WriteMonthAndDay(char* out, const DateTimePlan& plan, const DayParts& day) {
  if (plan.day_first) {
    out = WriteTwo(out, day.day);
    *out++ = plan.separator;
    return WriteMonth(out, plan, day.month);
  }
  out = WriteMonth(out, plan, day.month);
  *out++ = plan.separator;
  out = WriteTwo(out, day.day);
  if (plan.comma) *out++ = ',';
  return out;
}

// At most 12 characters.
char* WriteDate(char* out, const DateTimePlan& plan, const DayParts& day) {
  if (!plan.has_date) return out;
  if (plan.year_first) {
    out = WriteYear(out, plan, day.year);
    *out++ = plan.separator;
    return WriteMonthAndDay(out, plan, day);
  }
  out = WriteMonthAndDay(out, plan, day);
  *out++ = plan.separator;
  return WriteYear(out, plan, day.year);
}

// At most 18 characters, all of which are written over: a whole clock, of which parts that are not
// asked for are taken out again.
char* WriteTime(char* out, const DateTimePlan& plan, const ClockParts& clock) {
  constexpr std::size_t kMinutes = sizeof "hh:mm" - 1;
  constexpr std::size_t kSeconds = sizeof ":ss" - 1;
  WriteTwo(WriteClock(out, clock.second_of_day, clock.ticks), 0);
  const std::size_t fraction =
      plan.fraction_digits > 0 ? static_cast<std::size_t>(plan.fraction_digits) + 1 : 0;
  if (plan.hour_minute && plan.second) return out + kMinutes + kSeconds + fraction;
  char* end = plan.hour_minute ? out + kMinutes : out;
  if (plan.second) {
    std::memmove(end, out + kMinutes, kSeconds);
    end += kSeconds;
  }
  std::memmove(end, out + kMinutes + kSeconds, fraction);
  return end + fraction;
}

void ReadDateFormat(const std::string& format, DateTimePlan& plan) {
  plan.has_date = !format.empty();
  const bool slash = format.find('/') != kNone;
  const bool minus = !slash && format.find('-') != kNone;
  const bool blank = !slash && !minus && format.find(' ') != kNone;
  const std::size_t year = format.find("yy");
  const std::size_t month = format.find("mm");
  const std::size_t day = format.find("dd");
  const std::size_t month_name = format.find("mmm");
  plan.month_name = month_name != kNone;
  plan.short_year = year != kNone && format.find("yyyy") == kNone;
  if (year == kNone || month == kNone || day == kNone) return;  // month/day/year
  plan.separator = minus ? '-' : blank ? ' ' : '/';
  plan.day_first = month >= day;
  plan.year_first = year == 0;
  plan.comma =
      blank && day > (plan.month_name ? month_name : month) && format.find(',', day) != kNone;
}

void ReadTimeFormat(const std::string& format, DateTimePlan& plan) {
  plan.hour_minute = format.find("hh:mm") != kNone;
  plan.second = format.find("ss") != kNone;
  const std::size_t fraction = format.find("xxx");
  if (fraction == kNone) return;
  const std::size_t digits = format.rfind('x') - fraction + 1;
  if (digits <= 9) plan.fraction_digits = static_cast<int>(digits);
}

ClockParts SplitClock(std::uint64_t ticks_since_1970) {
  const std::uint64_t of_day = ticks_since_1970 % (kTicksPerSecond * kSecondsPerDay);
  return {static_cast<unsigned>(of_day / kTicksPerSecond),
          static_cast<unsigned>(of_day % kTicksPerSecond)};
}

// "03/07/2012 14:05:09.123456700"; of a piece with its callers, as every record holds such a text.
[[gnu::always_inline]] inline char* WriteInstant(char* out, const DayParts& day,
                                                 const ClockParts& clock) {
  WriteTwo(out, day.month);
  WriteTwo(out + 3, day.day);
  out[2] = out[5] = '/';
  out += 6;
  if (day.year > 9999) *out++ = static_cast<char>('0' + day.year / 10'000);
  WriteTwo(out, day.year / 100 % 100);
  WriteTwo(out + 2, day.year % 100);
  out[4] = ' ';
  return WriteTwo(WriteClock(out + 5, clock.second_of_day, clock.ticks), 0);
}

}  // namespace

DateTimePlan MakeDateTimePlan(std::string_view date_format, std::string_view time_format) {
  DateTimePlan plan;
  ReadDateFormat(ToLowerAscii(date_format), plan);
  ReadTimeFormat(ToLowerAscii(time_format), plan);
  return plan;
}

bool FormatDateTime(const DateTimeFields& fields, std::string_view date_format,
                    std::string_view time_format, std::string& date, std::string& time) {
  DateTimeFormatter formatter = MakeDateTimeFormatter(date_format, time_format);
  const DateTimeText text = FormatDateTime(formatter, fields.valid ? fields.filetime : 0);
  date = text.date;
  time = text.time;
  return fields.valid;
}

DateTimeFormatter MakeDateTimeFormatter(std::string_view date_format,
                                        std::string_view time_format) {
  DateTimeFormatter formatter;
  formatter.plan = MakeDateTimePlan(date_format, time_format);
  return formatter;
}

DateTimeText FormatDateTime(DateTimeFormatter& formatter, std::uint64_t filetime) {
  if (!IsValidFiletime(filetime)) return {};
  const std::uint64_t ticks = filetime - kUnixEpochFiletime;
  const std::uint64_t day = ticks / (kTicksPerSecond * kSecondsPerDay);
  if (day != formatter.last_day) {
    char* end = WriteDate(formatter.date.data(), formatter.plan, SplitDay(static_cast<int>(day)));
    formatter.date_size = static_cast<std::size_t>(end - formatter.date.data());
    formatter.last_day = day;
  }
  char* end = WriteTime(formatter.time.data(), formatter.plan, SplitClock(ticks));
  return {{formatter.date.data(), formatter.date_size},
          {formatter.time.data(), static_cast<std::size_t>(end - formatter.time.data())}};
}

char* WriteFiletimeFull(std::uint64_t filetime, char* out) {
  if (!IsValidFiletime(filetime)) return out;
  const std::uint64_t ticks = filetime - kUnixEpochFiletime;
  return WriteInstant(out, SplitDay(static_cast<int>(ticks / (kTicksPerSecond * kSecondsPerDay))),
                      SplitClock(ticks));
}

char* WriteAnyFiletime(std::uint64_t filetime, char* out) {
  constexpr std::uint64_t kTicksPerDay = kTicksPerSecond * kSecondsPerDay;
  constexpr auto kDaysFrom1601 = static_cast<int>(kUnixEpochFiletime / kTicksPerDay);
  if (filetime >> 63 != 0) return out;
  const int day = static_cast<int>(filetime / kTicksPerDay) - kDaysFrom1601;
  return WriteInstant(out, SplitDay(day), SplitClock(filetime % kTicksPerDay));
}

std::string FormatFiletimeFull(std::uint64_t filetime) {
  char text[32];
  return {text, WriteFiletimeFull(filetime, text)};
}

std::string FormatSystemTime(const std::uint16_t (&fields)[8]) {
  std::tm tm{};
  tm.tm_year = fields[0] - 1900;
  tm.tm_mon = fields[1] - 1;
  tm.tm_mday = fields[3];
  tm.tm_hour = fields[4];
  tm.tm_min = fields[5];
  tm.tm_sec = fields[6];
  DateTimeFields instant;
  if (fields[7] > 999 || !MakeDateTimeFromTm(tm, instant)) return {};
  char text[64];
  char* out = WriteTwo(text, fields[1]);
  *out++ = '/';
  out = WriteTwo(out, fields[3]);
  *out++ = '/';
  out = WriteDigits(out, fields[0], 4);
  out = WriteText(out, " : ");
  for (const std::uint16_t part : {fields[4], fields[5], fields[6]}) {
    out = WriteTwo(out, part);
    *out++ = ':';
  }
  // Two digits at least, not always three: 7 ms is "07", 123 ms is "123".
  out = WriteDigits(out, fields[7], fields[7] > 99 ? 3 : 2);
  return {text, out};
}

std::string_view MonthAbbrev(int month) {
  return month >= 1 && month <= 12 ? kMonths[month - 1] : std::string_view{};
}

}  // namespace tarnlex
