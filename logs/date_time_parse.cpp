// Times as an examiner types them.
#include <charconv>

#include "logs/date_time.h"
#include "logs/text.h"

namespace tarnlex {
namespace {

constexpr std::size_t kNone = std::string_view::npos;

bool IsDigits(std::string_view text) {
  return !text.empty() && text.find_first_not_of("0123456789") == kNone;
}

// One to `most` decimal digits and nothing else.
bool ReadNumber(std::string_view text, std::size_t most, int& number) {
  if (text.size() > most || !IsDigits(text)) return false;
  std::from_chars(text.data(), text.data() + text.size(), number);
  return true;
}

// Takes the text before `separator` off `rest`; false without one.
bool TakeField(std::string_view& rest, char separator, std::string_view& field) {
  const std::size_t end = rest.find(separator);
  if (end == kNone) return false;
  field = rest.substr(0, end);
  rest.remove_prefix(end + 1);
  return true;
}

// Month and day, of which one may be a month's name; two numbers are month and day.
bool ReadMonthAndDay(std::string_view first, std::string_view second, int& month, int& day) {
  month = MonthFromName(first);
  if (month != 0) return ReadNumber(second, 3, day);
  month = MonthFromName(second);
  if (month != 0) return ReadNumber(first, 3, day);
  return ReadNumber(first, 3, month) && ReadNumber(second, 3, day);
}

bool ReadYear(std::string_view text, int& year) {
  if (!ReadNumber(text, 4, year)) return false;
  if (text.size() == 2) year += year < 31 ? 2000 : 1900;
  return true;
}

bool ReadDate(std::string_view text, std::tm& tm) {
  const char separator = text.find('-') != kNone ? '-' : '/';
  std::string_view first;
  std::string_view second;
  int month = 0;
  int day = 0;
  int year = 0;
  if (!TakeField(text, separator, first) || !TakeField(text, separator, second) ||
      !ReadMonthAndDay(first, second, month, day) || !ReadYear(text, year)) {
    return false;
  }
  tm.tm_mon = month - 1;
  tm.tm_mday = day;
  tm.tm_year = year - 1900;
  return true;
}

}  // namespace

int MonthFromName(std::string_view name) {
  for (int month = 1; month <= 12; ++month) {
    if (EqualsNoCase(name, MonthAbbrev(month))) return month;
  }
  return 0;
}

bool ParseTimeText(std::string_view text, int& hour, int& minute, int& second) {
  text = Trim(text);
  second = 0;
  std::string_view field;
  if (!TakeField(text, ':', field) || !ReadNumber(field, 2, hour)) return false;
  if (TakeField(text, ':', field)) {
    if (!ReadNumber(field, 2, minute)) return false;
    const std::size_t point = text.find('.');
    if (!ReadNumber(text.substr(0, point), 2, second)) return false;
    if (point != kNone && !IsDigits(text.substr(point + 1))) return false;
  } else if (!ReadNumber(text, 2, minute)) {
    return false;
  }
  return hour <= 23 && minute <= 59 && second <= 59;
}

bool ReadTimeArgument(std::string_view text, std::tm& tm) {
  text = Trim(text);
  const std::size_t blank = text.find(' ');
  tm = {};
  if (!ReadDate(text.substr(0, blank), tm)) return false;
  return blank == kNone || ParseTimeText(text.substr(blank + 1), tm.tm_hour, tm.tm_min, tm.tm_sec);
}

bool ParseTimeArgument(std::string_view text, std::uint64_t& filetime) {
  std::tm tm{};
  DateTimeFields fields;
  if (!ReadTimeArgument(text, tm) || !MakeDateTimeFromTm(tm, fields)) return false;
  filetime = fields.filetime;
  return true;
}

}  // namespace tarnlex
