#include "logs/time_bounds.h"

#include <gtest/gtest.h>

#include "logs/date_time.h"

namespace tarnlex {
namespace {

constexpr std::uint64_t kSecond = kTicksPerSecond;
constexpr std::uint64_t kDay = 86'400 * kSecond;
constexpr std::uint64_t kMarch14 = 133'232'256'000'000'000;  // 2023-03-14 00:00:00
constexpr std::uint64_t kNow = kMarch14 + 9 * 3600 * kSecond;

std::uint64_t Start(std::string_view text) { return ReadTimeBounds(text, "", kNow).start; }

TEST(TimeBounds, KeepWhatTheOldFormsMean) {
  for (const char* text : {"03/14/2023", "3-14-23 11:00", "Mar/14/2023 11:00:01.5", "14-MAR-23",
                           " 03/14/2023 11:00:00 ", "01/02/03"}) {
    std::uint64_t filetime = 0;
    ASSERT_TRUE(ParseTimeArgument(text, filetime)) << text;
    EXPECT_EQ(Start(text), filetime) << text;
    EXPECT_EQ(ReadTimeBounds("", text, kNow).stop, filetime) << text;
  }
}

TEST(TimeBounds, TakeIso8601WithWhatItLetsBeLeftOut) {
  EXPECT_EQ(Start("2023-03-14"), kMarch14);
  EXPECT_EQ(Start("2023-03-14T11:00"), kMarch14 + 11 * 3600 * kSecond);
  EXPECT_EQ(Start("2023-03-14 11:00Z"), kMarch14 + 11 * 3600 * kSecond);
  EXPECT_EQ(Start("2023-03-14T11:00+02:00"), kMarch14 + 9 * 3600 * kSecond);
  EXPECT_EQ(Start("2023-03-14t11:00:05.25z"), kMarch14 + 39605 * kSecond + kSecond / 4);
  EXPECT_EQ(Start(" 2023-03-13T19:30:00-0430 "), kMarch14);
}

TEST(TimeBounds, SayWhatCannotBeRead) {
  for (const char* text :
       {"2030-13-45", "X", "2023-02-29", "2023-03-14T", "2023-03-14T24:00", "2023-3-14", "-2", "-d",
        "-2y", "2d", "--2d", "-1234567d", "-999999w", "01/01/1960", "nowish"}) {
    const TimeBounds bounds = ReadTimeBounds(text, text, kNow);
    EXPECT_TRUE(bounds.start_unreadable && bounds.stop_unreadable) << text;
    EXPECT_EQ(bounds.start, 0U) << text;
    EXPECT_EQ(bounds.stop, 0U) << text;
  }
  const TimeBounds none = ReadTimeBounds("", "", kNow);
  EXPECT_FALSE(none.start_unreadable || none.stop_unreadable);
}

TEST(TimeBounds, CountBackFromNow) {
  EXPECT_EQ(Start("NOW"), kNow);
  EXPECT_EQ(Start("-2d"), kNow - 2 * kDay);
  EXPECT_EQ(Start("-12h"), kNow - kDay / 2);
  EXPECT_EQ(Start("-30M"), kNow - 1800 * kSecond);
  EXPECT_EQ(Start("-1w"), kNow - 7 * kDay);
  EXPECT_EQ(Start("-90s"), kNow - 90 * kSecond);
  const TimeBounds both = ReadTimeBounds("-2d", "-1d", kNow);
  EXPECT_EQ(both.start, kNow - 2 * kDay);
  EXPECT_EQ(both.stop, kNow - kDay);
}

TEST(TimeBounds, CountAStartBackFromAStopThatIsATimeByItself) {
  const TimeBounds bounds = ReadTimeBounds("-2d", "03/14/2023", kNow);
  EXPECT_EQ(bounds.start, kMarch14 - 2 * kDay);
  EXPECT_EQ(bounds.stop, kMarch14);
  EXPECT_EQ(ReadTimeBounds("-1h", "now", kNow).start, kNow - 3600 * kSecond);
  EXPECT_EQ(ReadTimeBounds("-1h", "never", kNow).start, kNow - 3600 * kSecond);
  EXPECT_EQ(ReadTimeBounds("2023-01-01", "-1d", kNow).stop, kNow - kDay) << "not before the start";
}

}  // namespace
}  // namespace tarnlex
