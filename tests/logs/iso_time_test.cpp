#include "logs/iso_time.h"

#include <gtest/gtest.h>

#include <string>

#include "tests/support/put_bytes.h"

namespace tarnlex {
namespace {

constexpr std::uint64_t kUntouched = 42;
constexpr std::uint64_t kSecond = 10'000'000;

std::uint64_t TimeOf(std::string_view text) {
  std::uint64_t time = kUntouched;
  if (!ParseIsoTime(text, time)) {
    EXPECT_EQ(time, kUntouched) << text;
  }
  return time;
}

TEST(IsoTime, ReadsDateClockAndFraction) {
  const std::uint64_t noon = support::Filetime(2023, 3, 14, 9, 26, 53);
  EXPECT_EQ(TimeOf("2023-03-14T09:26:53Z"), noon);
  EXPECT_EQ(TimeOf("2023-03-14T09:26:53"), noon);
  EXPECT_EQ(TimeOf("2023-03-14 09:26:53"), noon);
  EXPECT_EQ(TimeOf(" 2023-03-14t09:26:53z\r\n"), noon);
  EXPECT_EQ(TimeOf("2023-03-14T09:26:53.5Z"), noon + kSecond / 2);
  EXPECT_EQ(TimeOf("2023-03-14T09:26:53,5Z"), noon + kSecond / 2);
  EXPECT_EQ(TimeOf("2023-03-14T09:26:53.5897932Z"), noon + 5'897'932);
  EXPECT_EQ(TimeOf("2023-03-14T09:26:53.589793238462643Z"), noon + 5'897'932);
}

TEST(IsoTime, TakesTheOffsetOff) {
  const std::uint64_t utc = support::Filetime(2023, 3, 14, 9, 26, 53);
  EXPECT_EQ(TimeOf("2023-03-14T10:26:53+01:00"), utc);
  EXPECT_EQ(TimeOf("2023-03-14T14:56:53+0530"), utc);
  EXPECT_EQ(TimeOf("2023-03-13T23:26:53.0-10:00"), utc);
}

TEST(IsoTime, KnowsTheCalendar) {
  EXPECT_EQ(TimeOf("2024-02-29T00:00:00Z"), support::Filetime(2024, 2, 29, 0, 0, 0));
  EXPECT_EQ(TimeOf("1601-01-01T00:00:00Z"), 0U);
  EXPECT_EQ(TimeOf("1601-01-01T00:00:00.0000001Z"), 1U);
  EXPECT_EQ(TimeOf("9999-12-31T23:59:59.9999999Z"), 2'650'467'743'999'999'999U);
  for (const char* text : {"2023-02-29T00:00:00Z", "2023-13-01T00:00:00Z", "2023-00-01T00:00:00Z",
                           "2023-01-00T00:00:00Z", "2023-04-31T00:00:00Z", "1600-12-31T23:59:59Z",
                           "1601-01-01T00:00:00+00:01", "0000-01-01T00:00:00Z"}) {
    EXPECT_EQ(TimeOf(text), kUntouched) << text;
  }
}

TEST(IsoTime, RefusesEverythingElse) {
  for (const char* text : {"",
                           "0",
                           "Z",
                           "2023",
                           "2023-03-14",
                           "2023-03-14T",
                           "2023-03-14T09:26",
                           "2023-03-14T09:26:5",
                           "2023-3-14T09:26:53Z",
                           "23-03-14T09:26:53Z",
                           "+023-03-14T09:26:53Z",
                           "-023-03-14T09:26:53Z",
                           "2023-03-14T+9:26:53Z",
                           "2023-03-14T24:00:00Z",
                           "2023-03-14T09:60:00Z",
                           "2023-03-14T09:26:60Z",
                           "2023-03-14T09:26:53.Z",
                           "2023-03-14T09:26:53ZZ",
                           "2023-03-14T09:26:53 Z",
                           "2023-03-14T09:26:53+1",
                           "2023-03-14T09:26:53+24:00",
                           "2023-03-14T09:26:53+01:60",
                           "2023-03-14T09:26:53x",
                           "03/14/2023 09:26:53",
                           "2023/03/14T09:26:53Z",
                           "2023-03-14T09.26.53Z"}) {
    EXPECT_EQ(TimeOf(text), kUntouched) << text;
  }
}

TEST(IsoTime, ReadsNothingBehindTheText) {
  const std::string whole = "2023-03-14T09:26:53.5897932+01:00";
  for (std::size_t size = 0; size < whole.size(); ++size) {
    const std::string cut(whole.substr(0, size));  // of its own, so that a sanitizer sees its end
    std::uint64_t time = kUntouched;
    EXPECT_EQ(ParseIsoTime(cut, time), size == 19 || (size >= 21 && size <= 27)) << cut;
  }
}

// Of a SYSTEMTIME at a time of the year that all years have.
std::uint64_t SystemTimeIn(std::uint16_t year) {
  const std::uint16_t fields[] = {year, 3, 2, 14, 9, 26, 53, 589};
  std::uint64_t time = kUntouched;
  const Bytes bytes(reinterpret_cast<const std::uint8_t*>(fields), sizeof fields);
  if (!ReadSystemTime(bytes, time)) {
    EXPECT_EQ(time, kUntouched) << year;
  }
  return time;
}

TEST(IsoTime, ReadsTheYearsOfSystemTimeOnly) {
  EXPECT_EQ(SystemTimeIn(2023), support::Filetime(2023, 3, 14, 9, 26, 53) + 5'890'000);
  EXPECT_EQ(SystemTimeIn(1601), support::Filetime(1601, 3, 14, 9, 26, 53) + 5'890'000);
  EXPECT_EQ(SystemTimeIn(30'827) - SystemTimeIn(30'427), 146'097 * (86'400 * kSecond));
  for (const int year : {0, 1600, 30'828, 32'767, 32'768, 33'536, 65'535}) {
    EXPECT_EQ(SystemTimeIn(static_cast<std::uint16_t>(year)), kUntouched) << year;
  }
}

}  // namespace
}  // namespace tarnlex
