#include "logs/date_time.h"

#include <gtest/gtest.h>

#include <string>
#include <string_view>

namespace tarnlex {
namespace {

constexpr std::uint64_t kMarch2012 = 129'756'027'091'234'567;  // 2012-03-07 14:05:09.1234567
constexpr std::uint64_t kLastSecond = 32'535'244'799;

std::uint64_t FromUnix(std::uint64_t seconds) {
  return kUnixEpochFiletime + seconds * kTicksPerSecond;
}

std::string DateOf(std::string_view format, std::uint64_t filetime = kMarch2012) {
  std::string date;
  std::string time;
  FormatDateTime(MakeDateTime(filetime, TimeKind::kFiletime), format, "", date, time);
  EXPECT_EQ(time, "");
  return date;
}

std::string TimeOf(std::string_view format, std::uint64_t filetime = kMarch2012) {
  std::string date;
  std::string time;
  FormatDateTime(MakeDateTime(filetime, TimeKind::kFiletime), "", format, date, time);
  EXPECT_EQ(date, "");
  return time;
}

std::string ParseAndPrint(std::string_view text) {
  std::uint64_t filetime = 0;
  return ParseTimeArgument(text, filetime) ? FormatFiletimeFull(filetime) : "no time";
}

TEST(MakeDateTime, BreaksAFiletimeDown) {
  const DateTimeFields fields = MakeDateTime(kMarch2012, TimeKind::kFiletime);
  EXPECT_TRUE(fields.valid);
  EXPECT_EQ(fields.unix_seconds, 1331129109);
  EXPECT_EQ(fields.filetime, kMarch2012);
  EXPECT_EQ((std::uint64_t{fields.filetime_high} << 32) + fields.filetime_low, kMarch2012);
  EXPECT_EQ(fields.year, 2012);
  EXPECT_EQ(fields.month, 3);
  EXPECT_EQ(fields.day, 7);
  EXPECT_EQ(fields.day_of_week, 3);
  EXPECT_EQ(fields.hour, 14);
  EXPECT_EQ(fields.minute, 5);
  EXPECT_EQ(fields.second, 9);
  EXPECT_EQ(fields.millisecond, 123);
  EXPECT_EQ(fields.microsecond, 123456U);
  EXPECT_EQ(fields.nanosecond, 123456700U);
  EXPECT_EQ(fields.dos_date, (32 << 9) + (3 << 5) + 7);
  EXPECT_EQ(fields.dos_time, (14 << 11) + (5 << 5) + 5);  // the odd second is rounded up
  EXPECT_EQ(fields.tm.tm_year, 112);
  EXPECT_EQ(fields.tm.tm_mon, 2);
  EXPECT_EQ(fields.tm.tm_mday, 7);
  EXPECT_EQ(fields.tm.tm_hour, 14);
  EXPECT_EQ(fields.tm.tm_yday, 66);
}

TEST(MakeDateTime, TakesEveryKindOfNumber) {
  const auto filetime = [](std::uint64_t value, TimeKind kind) {
    return MakeDateTime(value, kind).filetime;
  };
  EXPECT_EQ(filetime(kMarch2012 / 10, TimeKind::kMicrosecondsSince1601), kMarch2012 / 10 * 10);
  EXPECT_EQ(filetime(1331129109'123456, TimeKind::kUnixMicroseconds), kMarch2012 / 10 * 10);
  EXPECT_EQ(filetime(1331129109, TimeKind::kUnixSeconds), kMarch2012 / 10000000 * 10000000);
  EXPECT_EQ(filetime(0xABCD'00000010, TimeKind::kLow32Seconds), 125'912'196'160'000'000U);
  EXPECT_FALSE(MakeDateTime(1331129109, static_cast<TimeKind>(3)).valid);
}

TEST(MakeDateTime, RejectsWhatIsNoInstant) {
  for (const std::uint64_t filetime :
       {std::uint64_t{0}, std::uint64_t{1}, kUnixEpochFiletime, FromUnix(1) - 1,
        FromUnix(kLastSecond + 1), std::uint64_t{1} << 63, ~std::uint64_t{0}}) {
    EXPECT_FALSE(MakeDateTime(filetime, TimeKind::kFiletime).valid) << filetime;
    EXPECT_EQ(DateOf("mm/dd/yyyy", filetime), "");
    EXPECT_EQ(TimeOf("hh:mm:ss", filetime), "");
  }
  const DateTimeFields zero = MakeDateTime(0, TimeKind::kUnixSeconds);
  EXPECT_FALSE(zero.valid);
  EXPECT_EQ(zero.unix_seconds, 0);
  EXPECT_FALSE(MakeDateTime(~std::uint64_t{0}, TimeKind::kUnixSeconds).valid);
  EXPECT_FALSE(MakeDateTime(~std::uint64_t{0} / 3, TimeKind::kUnixMicroseconds).valid);
}

TEST(MakeDateTime, AcceptsBothEndsOfTheRange) {
  EXPECT_EQ(FormatFiletimeFull(FromUnix(1)), "01/01/1970 00:00:01.000000000");
  EXPECT_EQ(FormatFiletimeFull(FromUnix(kLastSecond) + 9'999'999), "01/01/3001 07:59:59.999999900");
}

TEST(MakeDateTime, AgreesWithTheCLibraryAcrossYears) {
  for (std::uint64_t seconds = 1; seconds < 10'000'000'000; seconds += 86'400 * 13 + 12'345) {
    const DateTimeFields fields = MakeDateTime(seconds, TimeKind::kUnixSeconds);
    const auto as_time = static_cast<std::time_t>(seconds);
    std::tm expected{};
    gmtime_r(&as_time, &expected);
    ASSERT_TRUE(fields.valid);
    ASSERT_EQ(fields.tm.tm_year, expected.tm_year) << seconds;
    ASSERT_EQ(fields.tm.tm_mon, expected.tm_mon) << seconds;
    ASSERT_EQ(fields.tm.tm_mday, expected.tm_mday) << seconds;
    ASSERT_EQ(fields.tm.tm_hour, expected.tm_hour) << seconds;
    ASSERT_EQ(fields.tm.tm_min, expected.tm_min) << seconds;
    ASSERT_EQ(fields.tm.tm_sec, expected.tm_sec) << seconds;
    ASSERT_EQ(fields.tm.tm_wday, expected.tm_wday) << seconds;
    ASSERT_EQ(fields.tm.tm_yday, expected.tm_yday) << seconds;
    DateTimeFields back;
    ASSERT_TRUE(MakeDateTimeFromTm(expected, back));
    ASSERT_EQ(back.filetime, fields.filetime);
  }
}

TEST(MakeDateTime, KnowsLeapYears) {
  EXPECT_EQ(DateOf("mm/dd/yyyy", FromUnix(951'782'400)), "02/29/2000");
  EXPECT_EQ(DateOf("mm/dd/yyyy", FromUnix(1'330'473'600)), "02/29/2012");
  EXPECT_EQ(DateOf("mm/dd/yyyy", FromUnix(4'107'456'000)), "02/28/2100");
  EXPECT_EQ(DateOf("mm/dd/yyyy", FromUnix(4'107'542'400)), "03/01/2100");
}

TEST(MakeDateTime, GivesDosTimesOnlyWhereTheyExist) {
  EXPECT_EQ(MakeDateTime(315'532'799, TimeKind::kUnixSeconds).dos_date, 0);
  EXPECT_EQ(MakeDateTime(315'532'800, TimeKind::kUnixSeconds).dos_date, 33);
  EXPECT_NE(MakeDateTime(2'145'916'799, TimeKind::kUnixSeconds).dos_date, 0);
  EXPECT_EQ(MakeDateTime(2'145'916'800, TimeKind::kUnixSeconds).dos_date, 0);
}

TEST(MakeDateTimeFromTm, RejectsWhatNoCalendarHolds) {
  std::tm tm{};
  tm.tm_year = 113;
  tm.tm_mon = 1;
  tm.tm_mday = 29;
  DateTimeFields fields;
  EXPECT_FALSE(MakeDateTimeFromTm(tm, fields));
  tm.tm_year = 112;
  EXPECT_TRUE(MakeDateTimeFromTm(tm, fields));
  tm.tm_hour = 24;
  EXPECT_FALSE(MakeDateTimeFromTm(tm, fields));
  std::tm epoch{};
  epoch.tm_year = 70;
  epoch.tm_mday = 1;
  EXPECT_FALSE(MakeDateTimeFromTm(epoch, fields));
}

TEST(DateText, FollowsTheOrderAndSeparatorOfTheFormat) {
  EXPECT_EQ(DateOf("mm/dd/yyyy"), "03/07/2012");
  EXPECT_EQ(DateOf("yyyy/mm/dd"), "2012/03/07");
  EXPECT_EQ(DateOf("yyyy-mm-dd"), "2012-03-07");
  EXPECT_EQ(DateOf("dd-mm-yyyy"), "07-03-2012");
  EXPECT_EQ(DateOf("dd/mm/yy"), "07/03/12");
  EXPECT_EQ(DateOf("mmm dd, yyyy"), "Mar 07, 2012");
  EXPECT_EQ(DateOf("mmm dd yyyy"), "Mar 07 2012");
  EXPECT_EQ(DateOf("dd mmm yyyy"), "07 Mar 2012");
  EXPECT_EQ(DateOf("YYYY-MM-DD"), "2012-03-07");
  EXPECT_EQ(DateOf("yyyy dd mm"), "2012 07 03");
  EXPECT_EQ(DateOf("yymmdd"), "12/03/07");
}

TEST(DateText, FallsBackToMonthDayYearWhenAPartIsMissing) {
  EXPECT_EQ(DateOf("mm/yyyy/"), "03/07/2012");
  EXPECT_EQ(DateOf("yyyy-dd-"), "03/07/2012");
  EXPECT_EQ(DateOf("mmm-yy--"), "Mar/07/12");
  EXPECT_EQ(DateOf("mm-dd---"), "03/07/2012");
}

TEST(TimeText, HasTheFractionThatTheFormatAsksFor) {
  EXPECT_EQ(TimeOf("hh:mm:ss.xxx"), "14:05:09.123");
  EXPECT_EQ(TimeOf("hh:mm:ss"), "14:05:09");
  EXPECT_EQ(TimeOf("hh:mm:ss.xxxx"), "14:05:09.1234");
  EXPECT_EQ(TimeOf("hh:mm:ss.xxxxx"), "14:05:09.12345");
  EXPECT_EQ(TimeOf("hh:mm:ss.xxxxxx"), "14:05:09.123456");
  EXPECT_EQ(TimeOf("hh:mm:ss.xxxxxxx"), "14:05:09.1234567");
  EXPECT_EQ(TimeOf("hh:mm:ss.xxxxxxxx"), "14:05:09.12345670");
  EXPECT_EQ(TimeOf("hh:mm:ss.xxxxxxxxx"), "14:05:09.123456700");
  EXPECT_EQ(TimeOf("hh:mm:ss.xxxxxxxxxx"), "14:05:09");
  EXPECT_EQ(TimeOf("hh:mm:ss.xx"), "14:05:09");
  EXPECT_EQ(TimeOf("hh:mm"), "14:05");
  EXPECT_EQ(TimeOf("ss"), ":09");
  EXPECT_EQ(TimeOf("ss.xxx"), ":09.123");
  EXPECT_EQ(TimeOf("hh:mm.xxxxxxxxx"), "14:05.123456700");
  EXPECT_EQ(TimeOf("HH:MM:SS.XXX"), "14:05:09.123");
  EXPECT_EQ(TimeOf("hh:mm:ss.xxx", FromUnix(1)), "00:00:01.000");
}

TEST(DateTimeFormatter, FollowsDayChangesAndInvalidInstants) {
  DateTimeFormatter formatter = MakeDateTimeFormatter("yyyy-mm-dd", "hh:mm:ss");
  for (const std::uint64_t seconds : {86'399U, 86'400U, 86'401U, 86'399U}) {
    const DateTimeText text = FormatDateTime(formatter, FromUnix(seconds));
    EXPECT_EQ(text.date, seconds < 86'400 ? "1970-01-01" : "1970-01-02");
  }
  EXPECT_EQ(FormatDateTime(formatter, 0).date, "");
  EXPECT_EQ(FormatDateTime(formatter, 0).time, "");
  EXPECT_EQ(FormatDateTime(formatter, FromUnix(86'399)).time, "23:59:59");
}

TEST(FormatFiletimeFull, WritesNanosecondsAndNothingForAnInvalidInstant) {
  EXPECT_EQ(FormatFiletimeFull(kMarch2012), "03/07/2012 14:05:09.123456700");
  EXPECT_EQ(FormatFiletimeFull(0), "");
  EXPECT_EQ(FormatFiletimeFull(kUnixEpochFiletime), "");
}

TEST(FormatSystemTime, GivesMillisecondsTwoDigitsAtLeast) {
  EXPECT_EQ(FormatSystemTime({2012, 3, 3, 7, 14, 5, 9, 7}), "03/07/2012 : 14:05:09:07");
  EXPECT_EQ(FormatSystemTime({2012, 3, 3, 7, 14, 5, 9, 123}), "03/07/2012 : 14:05:09:123");
  EXPECT_EQ(FormatSystemTime({0, 0, 0, 0, 0, 0, 0, 0}), "");
  EXPECT_EQ(FormatSystemTime({2013, 2, 0, 29, 0, 0, 0, 0}), "");
  EXPECT_EQ(FormatSystemTime({2012, 3, 3, 7, 14, 5, 9, 1000}), "");
  EXPECT_EQ(FormatSystemTime({65535, 65535, 0, 65535, 65535, 65535, 65535, 0}), "");
}

TEST(MonthNames, WorkBothWays) {
  for (int month = 1; month <= 12; ++month) EXPECT_EQ(MonthFromName(MonthAbbrev(month)), month);
  EXPECT_EQ(MonthFromName("DEC"), 12);
  EXPECT_EQ(MonthFromName("december"), 0);
  EXPECT_EQ(MonthFromName(""), 0);
  EXPECT_EQ(MonthAbbrev(0), "");
  EXPECT_EQ(MonthAbbrev(13), "");
}

TEST(ParseTimeText, TakesSecondsAndAFractionOrNeither) {
  int hour = -1;
  int minute = -1;
  int second = -1;
  EXPECT_TRUE(ParseTimeText("7:05:09.125", hour, minute, second));
  EXPECT_EQ(hour * 10000 + minute * 100 + second, 70509);
  EXPECT_TRUE(ParseTimeText("7:05:10." + std::string(100, '9'), hour, minute, second));
  EXPECT_EQ(hour * 10000 + minute * 100 + second, 70510);
  EXPECT_TRUE(ParseTimeText(" 23:59 ", hour, minute, second));
  EXPECT_EQ(hour * 10000 + minute * 100 + second, 235900);
  for (const char* bad :
       {"", "12", "24:00:00", "12:60:00", "12:00:60", "12:00:", "a:00:00", "12:00:00x", "12:00:00.",
        "12:00:00.1x", "12::00", "-1:00:00", "12:00:00:00"}) {
    EXPECT_FALSE(ParseTimeText(bad, hour, minute, second)) << bad;
  }
}

TEST(ParseTimeArgument, ReadsDatesWithAndWithoutTime) {
  EXPECT_EQ(ParseAndPrint("03/07/2012"), "03/07/2012 00:00:00.000000000");
  EXPECT_EQ(ParseAndPrint("03-07-2012 14:05:09"), "03/07/2012 14:05:09.000000000");
  EXPECT_EQ(ParseAndPrint("Mar/07/12 10:00:00"), "03/07/2012 10:00:00.000000000");
  EXPECT_EQ(ParseAndPrint("07/Mar/2012"), "03/07/2012 00:00:00.000000000");
  EXPECT_EQ(ParseAndPrint("03/07/2012 14:05:09.1234567890"), "03/07/2012 14:05:09.000000000");
  EXPECT_EQ(ParseAndPrint("07-mar-2012"), "03/07/2012 00:00:00.000000000");
  EXPECT_EQ(ParseAndPrint("3/7/30  1:02"), "03/07/2030 01:02:00.000000000");
  EXPECT_EQ(ParseAndPrint("03/07/99"), "03/07/1999 00:00:00.000000000");
}

TEST(ParseTimeArgument, TakesATwoDigitYearFrom31OnAsThePastCentury) {
  EXPECT_EQ(ParseAndPrint("03/07/31"), "no time");  // 1931 is no instant of a log
  EXPECT_EQ(ParseAndPrint("03/07/70"), "03/07/1970 00:00:00.000000000");
}

TEST(ParseTimeArgument, RejectsWhatIsNoTime) {
  for (const char* bad :
       {"", "yesterday", "03/07", "13/07/2012", "03/32/2012", "00/07/2012", "03/00/2012",
        "03/07/20123", "03/07/2012 25:00:00", "03.07.2012", "02/30/2012", "02/29/2011",
        "01/01/1970", "Mar/Mar/2012", "03/07/2012/", "0003/07/2012"}) {
    EXPECT_EQ(ParseAndPrint(bad), "no time") << bad;
  }
}

}  // namespace
}  // namespace tarnlex
