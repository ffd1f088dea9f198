#include "logs/option_search.h"

#include <gtest/gtest.h>

namespace tarnlex {
namespace {

TEST(FindFlag, MatchesWholeArgumentsInAnyCaseAndTakesTheFirst) {
  Arguments args = {"tarnlex", "-csvgen", "-CSV", "-csv"};
  EXPECT_TRUE(FindFlag("-csv", args));
  EXPECT_EQ(args, (Arguments{"tarnlex", "-csvgen", "-csv"}));
  EXPECT_FALSE(FindFlag("-cs", args));
}

TEST(FindValue, TakesTheOptionAndItsValueOut) {
  Arguments args = {"tarnlex", "-LOG", "x.evtx", "-pipe"};
  std::string value;
  EXPECT_TRUE(FindValue("-log", args, value));
  EXPECT_EQ(value, "x.evtx");
  EXPECT_EQ(args, (Arguments{"tarnlex", "-pipe"}));
}

TEST(FindValue, CountsAnOptionInLastPlaceAsAbsent) {
  Arguments args = {"tarnlex", "-log"};
  std::string value = "kept";
  EXPECT_FALSE(FindValue("-log", args, value));
  EXPECT_EQ(value, "kept");
  EXPECT_EQ(args.size(), 2U);
}

TEST(FindValue, TakesAnOptionNameAsValueLikeAnyText) {
  Arguments args = {"tarnlex", "-string", "-pipe"};
  std::string value;
  EXPECT_TRUE(FindValue("-string", args, value));
  EXPECT_EQ(value, "-pipe");
  EXPECT_FALSE(FindFlag("-pipe", args));
}

TEST(PeekValue, LeavesTheListAlone) {
  const Arguments args = {"tarnlex", "-dateformat", "yyyy-mm-dd"};
  std::string value;
  EXPECT_TRUE(PeekValue("-DateFormat", args, value));
  EXPECT_EQ(value, "yyyy-mm-dd");
  EXPECT_TRUE(HasFlag("-DATEFORMAT", args));
  EXPECT_FALSE(HasFlag("-date", args));
}

}  // namespace
}  // namespace tarnlex
