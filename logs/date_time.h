// Instants and their text. Inside the program every time is a FILETIME (100 ns ticks since
// 1601-01-01 UTC); nothing is ever converted to another time zone.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <ctime>
#include <string>
#include <string_view>

namespace tarnlex {

inline constexpr std::uint64_t kTicksPerSecond = 10'000'000;
inline constexpr std::uint64_t kUnixEpochFiletime = 116'444'736'000'000'000;

// What the number handed to MakeDateTime holds.
enum class TimeKind : std::uint32_t {
  kFiletime = 1,
  kMicrosecondsSince1601 = 2,
  kUnixMicroseconds = 4,
  kUnixSeconds = 8,
  kLow32Seconds = 2048,
};

// One instant, broken down in UTC. Writers print empty texts for one that is not valid; of such an
// instant only the FILETIME and its halves are filled, and unix_seconds where it fits.
struct DateTimeFields {
  bool valid = false;
  std::int64_t unix_seconds = 0;
  std::uint64_t filetime = 0;
  std::uint32_t filetime_low = 0;
  std::uint32_t filetime_high = 0;
  std::uint16_t dos_date = 0;  // years 1980 to 2037 only
  std::uint16_t dos_time = 0;
  std::tm tm{};
  std::uint16_t year = 0;
  std::uint16_t month = 0;  // 1..12
  std::uint16_t day_of_week = 0;
  std::uint16_t day = 0;  // 1..31
  std::uint16_t hour = 0;
  std::uint16_t minute = 0;
  std::uint16_t second = 0;
  std::uint16_t millisecond = 0;
  std::uint64_t microsecond = 0;  // of the second, 0..999999
  std::uint64_t nanosecond = 0;   // of the second, 0..999999900
};

// True from 1970-01-01 00:00:01 UTC to the last second that a 64-bit C library breaks down
// (32535244799 Unix seconds).
constexpr bool IsValidFiletime(std::uint64_t filetime) {
  // An earlier instant wraps to a number far above the bound.
  return filetime - (kUnixEpochFiletime + kTicksPerSecond) < 32'535'244'799 * kTicksPerSecond;
}

// Breaks an instant down; a value whose FILETIME does not fit 64 bits gives FILETIME 0.
DateTimeFields MakeDateTime(std::uint64_t value, TimeKind kind);

// The instant of a broken-down UTC time (tm_year to tm_sec); false when that is no calendar time or
// no valid instant.
bool MakeDateTimeFromTm(const std::tm& tm, DateTimeFields& fields);

// What a pair of format texts ("mm/dd/yyyy", "hh:mm:ss.xxx" and their kin, in any case) asks for.
struct DateTimePlan {
  bool has_date = false;  // the date format is not empty
  char separator = '/';
  bool month_name = false;
  bool short_year = false;
  bool day_first = false;
  bool comma = false;  // behind the day, which is behind the month
  bool year_first = false;
  bool hour_minute = false;
  bool second = false;
  int fraction_digits = 0;  // 0, or 3..9
};
DateTimePlan MakeDateTimePlan(std::string_view date_format, std::string_view time_format);

// Date and time text under the run's formats. False, both texts empty, for an invalid instant; an
// empty format gives an empty text.
bool FormatDateTime(const DateTimeFields& fields, std::string_view date_format,
                    std::string_view time_format, std::string& date, std::string& time);

// The same for a whole table of instants: the formats are read once, and the text of the last day
// is kept, since neighbouring records mostly share it.
struct DateTimeFormatter {
  DateTimePlan plan;
  std::uint64_t last_day = ~std::uint64_t{0};  // days since 1970
  std::array<char, 16> date{};
  std::array<char, 24> time{};
  std::size_t date_size = 0;
};
DateTimeFormatter MakeDateTimeFormatter(std::string_view date_format, std::string_view time_format);

// Both texts empty for an invalid instant; they stay until the formatter is asked again.
struct DateTimeText {
  std::string_view date;
  std::string_view time;
};
DateTimeText FormatDateTime(DateTimeFormatter& formatter, std::uint64_t filetime);

// "03/07/2012 14:05:09.123456700": a FILETIME inside event data. Empty for an invalid instant.
// The second form writes at `out` (room for 32 characters) and returns the end.
std::string FormatFiletimeFull(std::uint64_t filetime);
char* WriteFiletimeFull(std::uint64_t filetime, char* out);

// The same for any instant from 1601 to 30828, 0 among them; nothing for numbers above 2^63 - 1.
char* WriteAnyFiletime(std::uint64_t filetime, char* out);

// A SYSTEMTIME inside event data: eight 16-bit numbers (year, month, day of week, day, hour,
// minute, second, millisecond), written "03/07/2012 : 14:05:09:07". Empty when they are no valid
// instant.
std::string FormatSystemTime(const std::uint16_t (&fields)[8]);

// "Jan".."Dec" for 1..12, else empty; and back, in any case: 1..12, 0 for any other text.
std::string_view MonthAbbrev(int month);
int MonthFromName(std::string_view name);

// Reads "h:m:s"; seconds may be missing and a fraction is ignored. False for anything else and for
// hours above 23, minutes or seconds above 59.
bool ParseTimeText(std::string_view text, int& hour, int& minute, int& second);

// Reads "MM/DD/YYYY HH:MM:SS" (see below) as it stands. False for a text that cannot be read so.
// What was read may still be no day of the calendar, or no valid instant.
bool ReadTimeArgument(std::string_view text, std::tm& tm);

// Reads "MM/DD/YYYY HH:MM:SS" (also with "-" and with month names, and without a time) as UTC into
// a FILETIME; false when the text is no such time or no valid instant.
bool ParseTimeArgument(std::string_view text, std::uint64_t& filetime);

}  // namespace tarnlex
