#include "output/display_name.h"

#include <gtest/gtest.h>

#include <string>

namespace tarnlex {
namespace {

std::string NameOf(const std::string& path, const RunOptions& options) {
  LogInfo log;
  log.path = path;
  return DisplayName(log, options);
}

TEST(DisplayName, IsThePathWithoutAnAlias) { EXPECT_EQ(NameOf("a/b.evtx", {}), "a/b.evtx"); }

TEST(DisplayName, PrefersTheAliasOfTheWholePath) {
  RunOptions options;
  options.alias_map = {{"pc1 security", "C:\\Logs\\Security.evtx"}};
  options.alias_path_map = {{"pc1", "C:\\Logs"}};
  EXPECT_EQ(NameOf("c:/logs/SECURITY.evtx", options), "pc1 security");
  EXPECT_EQ(NameOf("C:\\Logs\\System.evtx", options), "pc1\\System.evtx");
}

TEST(DisplayName, ReplacesWholePathComponentsOnly) {
  RunOptions options;
  options.alias_path_map = {{"disk", "/mnt/disk"}};
  EXPECT_EQ(NameOf("/mnt/disk/logs/a.evtx", options), "disk/logs/a.evtx");
  EXPECT_EQ(NameOf("/MNT/Disk\\a.evtx", options), "disk\\a.evtx");
  EXPECT_EQ(NameOf("/mnt/disk2/a.evtx", options), "/mnt/disk2/a.evtx");
  EXPECT_EQ(NameOf("/mnt/disk", options), "/mnt/disk");
  EXPECT_EQ(NameOf("/x/mnt/disk/a.evtx", options), "/x/mnt/disk/a.evtx");
}

TEST(DisplayName, TakesTheRootForADirectoryToo) {
  RunOptions options;
  options.alias_path_map = {{"image", "/"}};
  EXPECT_EQ(NameOf("/mnt/a.evtx", options), "image/mnt/a.evtx");
  EXPECT_EQ(NameOf("mnt/a.evtx", options), "mnt/a.evtx");
}

TEST(DisplayName, TakesTheLongestDirectoryThatFits) {
  RunOptions options;
  options.alias_path_map = {{"all", "/mnt"}, {"one", "/mnt/one/"}, {"none", ""}};
  EXPECT_EQ(NameOf("/mnt/one/a.evtx", options), "one/a.evtx");
  EXPECT_EQ(NameOf("/mnt/two/a.evtx", options), "all/two/a.evtx");
}

}  // namespace
}  // namespace tarnlex
