#include "logs/known_options.h"

#include <gtest/gtest.h>

namespace tarnlex {
namespace {

constexpr KnownOption kTable[] = {
    {"-eventid", true}, {"-start_time", true},        {"-startstop"}, {"-csv"},
    {"-log", true},     {"-name", true, false, true}, {"-h"},         {"-pull", true, true},
};

using Texts = std::vector<std::string>;

Texts RemarksOn(const Texts& tokens) { return ScanOptions(tokens, 0, kTable).remarks; }

std::string_view Nearest(std::string_view name) {
  const KnownOption* near = NearestOption(name, kTable);
  return near ? near->name : "";
}

TEST(KnownOptions, GiveNoRemarkOnWhatIsWellFormed) {
  const OptionScan scan =
      ScanOptions({"x", "-CSV", "-log", "-2d", "-pull", "a", "-pull", "b"}, 1, kTable);
  EXPECT_EQ(scan.remarks, Texts{});
  EXPECT_EQ(scan.left_over, Texts{});
  ASSERT_EQ(scan.uses.size(), 4U);
  EXPECT_EQ(UseOf(scan, "-log")->value, "-2d");
  EXPECT_EQ(UseOf(scan, "-eventid"), nullptr);
}

TEST(KnownOptions, NameTheNearestByTheFewestEdits) {
  EXPECT_EQ(Nearest("-evntid"), "-eventid");
  EXPECT_EQ(Nearest("--EVENTID"), "-eventid");
  EXPECT_EQ(Nearest("-start-time"), "-start_time");
  EXPECT_EQ(Nearest("-cvs"), "");
  EXPECT_EQ(Nearest("-event"), "-eventid");
  EXPECT_EQ(Nearest("-lgo"), "");
  EXPECT_EQ(Nearest("-loog"), "-log");
  EXPECT_EQ(Nearest("-x"), "");
  EXPECT_EQ(Nearest("-" + std::string(100, 'e')), "");
}

TEST(KnownOptions, RemarkOnWhatIsNoOptionAndTakeItsValueAlong) {
  EXPECT_EQ(RemarksOn({"-evntid", "7"}),
            Texts{"ignoring -evntid, no such option; did you mean -eventid?"});
  EXPECT_EQ(RemarksOn({"-evntid", "-csv"}),
            Texts{"ignoring -evntid, no such option; did you mean -eventid?"});
  EXPECT_EQ(RemarksOn({"-eventid=7=8"}),
            Texts{"ignoring -eventid=7=8, a value stands apart from its option: -eventid 7=8"});
  const OptionScan scan = ScanOptions({"-unheard", "of", "-", "-7"}, 0, kTable);
  EXPECT_EQ(scan.remarks, Texts{"ignoring -unheard, no such option"});
  EXPECT_EQ(scan.left_over, (Texts{"of", "-", "-7"}));
}

TEST(KnownOptions, RemarkOnWhatIsGivenTwice) {
  EXPECT_EQ(RemarksOn({"-csv", "-CSV"}), Texts{"ignoring the second -csv, the first counts"});
  EXPECT_EQ(RemarksOn({"-log", "a", "-log", "b"}),
            Texts{"ignoring the second -log (b), the first counts"});
}

TEST(KnownOptions, RemarkOnValuesThatAreMissingOrReadLikeAnOption) {
  EXPECT_EQ(RemarksOn({"-csv", "-log"}), Texts{"ignoring -log, it has no value"});
  EXPECT_EQ(RemarksOn({"-log", "-csv"}), Texts{"the value of -log reads like an option: -csv"});
  EXPECT_EQ(RemarksOn({"-name", "-csv"}), Texts{});
}

}  // namespace
}  // namespace tarnlex
