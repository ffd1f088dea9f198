#include "logs/paths.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <string>
#include <utility>

#include "logs/platform.h"

namespace tarnlex {
namespace {

using Split = std::pair<std::string, std::string>;

Split SplitOf(const std::string& path) {
  Split split;
  EXPECT_TRUE(SplitPath(path, split.first, split.second));
  return split;
}

TEST(SplitPath, CutsAtTheLastBackslashElseAtTheLastSlash) {
  EXPECT_EQ(SplitOf("C:\\logs\\System.evtx"), Split("C:\\logs", "System.evtx"));
  EXPECT_EQ(SplitOf("/mnt/logs/System.evtx"), Split("/mnt/logs", "System.evtx"));
  EXPECT_EQ(SplitOf("a\\b/c"), Split("a", "b/c"));
  EXPECT_EQ(SplitOf("/mnt/logs/"), Split("/mnt/logs", ""));
}

TEST(SplitPath, TakesParentReferencesIntoTheDirectory) {
  EXPECT_EQ(SplitOf("C:\\logs\\.."), Split("C:\\logs\\..", "."));
  EXPECT_EQ(SplitOf("/mnt/.."), Split("/mnt//..", "."));
  EXPECT_EQ(SplitOf(".."), Split("..", "."));
}

TEST(SplitPath, PutsABareNameIntoTheCurrentDirectory) {
  EXPECT_EQ(SplitOf("a.evtx"), Split(".", "a.evtx"));
}

TEST(FileNameOf, CutsAtEitherSeparator) {
  EXPECT_EQ(FileNameOf("C:\\logs\\System.evtx"), "System.evtx");
  EXPECT_EQ(FileNameOf("/mnt/logs/System.evtx"), "System.evtx");
  EXPECT_EQ(FileNameOf("a\\b/c"), "c");
  EXPECT_EQ(FileNameOf("a/b\\c"), "c");
  EXPECT_EQ(FileNameOf("System.evtx"), "System.evtx");
  EXPECT_EQ(FileNameOf("/mnt/logs/"), "");
  EXPECT_EQ(FileNameOf(""), "");
}

TEST(SplitPath, FailsOnlyForAnEmptyPath) {
  std::string directory = "x";
  std::string name = "y";
  EXPECT_FALSE(SplitPath("", directory, name));
  EXPECT_TRUE(directory.empty() && name.empty());
}

struct ExpandPathVariablesTest : testing::Test {
  void SetUp() override {
    setenv("TARNLEX_ROOT", "C:\\Windows", 1);
    setenv("TARNLEX_INNER", "%TARNLEX_ROOT%\\in", 1);
    setenv("TARNLEX_SELF", "%TARNLEX_SELF%", 1);
    setenv("TARNLEX_EMPTY", "", 1);
    unsetenv("TARNLEX_UNSET");
    unsetenv("VSS");
    unsetenv("vss");
    unsetenv("vSs");
  }
};

TEST_F(ExpandPathVariablesTest, TakesValuesFromTheEnvironment) {
  EXPECT_EQ(ExpandPathVariables("%TARNLEX_ROOT%\\a.evtx"), "C:\\Windows\\a.evtx");
  EXPECT_EQ(ExpandPathVariables("x%TARNLEX_EMPTY%y"), "xy");
}

TEST_F(ExpandPathVariablesTest, SearchesValuesInTheirTurn) {
  EXPECT_EQ(ExpandPathVariables("%TARNLEX_INNER%\\a"), "C:\\Windows\\in\\a");
}

TEST_F(ExpandPathVariablesTest, EndsOnAValueThatNamesItself) {
  EXPECT_EQ(ExpandPathVariables("%TARNLEX_SELF%"), "%TARNLEX_SELF%");
}

TEST_F(ExpandPathVariablesTest, PutsTheShadowCopyDeviceForVssInAnyCase) {
  const std::string expected = std::string(kShadowCopyPrefix) + "3\\Windows\\System32";
  EXPECT_EQ(ExpandPathVariables("%VSS%3\\Windows\\System32"), expected);
  EXPECT_EQ(ExpandPathVariables("%vSs%3\\Windows\\System32"), expected);
  EXPECT_EQ(expected.substr(0, 16), "\\\\?\\GLOBALROOT\\D");
}

TEST_F(ExpandPathVariablesTest, LetsTheEnvironmentOverruleVss) {
  setenv("VSS", "X:", 1);
  EXPECT_EQ(ExpandPathVariables("%VSS%\\a"), "X:\\a");
  unsetenv("VSS");
}

TEST_F(ExpandPathVariablesTest, KeepsUnknownNamesAndGoesOnBehindThem) {
  EXPECT_EQ(ExpandPathVariables("%TARNLEX_UNSET%\\%TARNLEX_ROOT%"), "%TARNLEX_UNSET%\\C:\\Windows");
  EXPECT_EQ(ExpandPathVariables("%%TARNLEX_ROOT%"), "%%TARNLEX_ROOT%");
}

TEST_F(ExpandPathVariablesTest, LeavesALonePercentSignAlone) {
  EXPECT_EQ(ExpandPathVariables("UserMode%4Operational.evtx"), "UserMode%4Operational.evtx");
}

TEST_F(ExpandPathVariablesTest, LeavesPathsBeyond512CharactersAlone) {
  const std::string variable = "%TARNLEX_ROOT%";
  const std::string fits(512 - variable.size(), 'a');
  EXPECT_EQ(ExpandPathVariables(fits + variable), fits + "C:\\Windows");
  EXPECT_EQ(ExpandPathVariables(fits + "a" + variable), fits + "a" + variable);
}

TEST(JoinPath, PutsOneSeparatorBetween) {
  ASSERT_FALSE(OnWindows());
  EXPECT_EQ(JoinPath("a", "b"), "a/b");
  EXPECT_EQ(JoinPath("a/", "b"), "a/b");
  EXPECT_EQ(JoinPath("", "b"), "b");
}

TEST(IsAbsolutePath, GoesByTheFirstSeparator) {
  EXPECT_TRUE(IsAbsolutePath("/a"));
  EXPECT_FALSE(IsAbsolutePath("a/b"));
  EXPECT_FALSE(IsAbsolutePath(""));
}

}  // namespace
}  // namespace tarnlex
