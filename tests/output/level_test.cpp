#include "output/level.h"

#include <gtest/gtest.h>

namespace tarnlex {
namespace {

TEST(LevelText, KnowsBothScales) {
  EXPECT_EQ(LevelText(true, 0), "info");
  EXPECT_EQ(LevelText(true, 1), "crit");
  EXPECT_EQ(LevelText(true, 2), "error");
  EXPECT_EQ(LevelText(true, 3), "warn");
  EXPECT_EQ(LevelText(true, 4), "info");
  EXPECT_EQ(LevelText(true, 5), "unk");
  EXPECT_EQ(LevelText(false, 0), "info");
  EXPECT_EQ(LevelText(false, 1), "error");
  EXPECT_EQ(LevelText(false, 2), "warn");
  EXPECT_EQ(LevelText(false, 4), "info");
  EXPECT_EQ(LevelText(false, 8), "a-pass");
  EXPECT_EQ(LevelText(false, 10), "a-fail");
  EXPECT_EQ(LevelText(false, 16), "unk");
}

TEST(LevelColor, MarksWhatIsWorthALook) {
  EXPECT_FALSE(LevelColor("crit").empty());
  EXPECT_EQ(LevelColor("crit"), LevelColor("error"));
  EXPECT_FALSE(LevelColor("warn").empty());
  EXPECT_NE(LevelColor("warn"), LevelColor("error"));
  EXPECT_EQ(LevelColor("a-fail"), LevelColor("warn"));
  EXPECT_EQ(LevelColor("info"), "");
  EXPECT_EQ(LevelColor("unk"), "");
}

}  // namespace
}  // namespace tarnlex
