#include "output/mirrored_folder.h"

#include <gtest/gtest.h>

namespace tarnlex {
namespace {

std::string Folder(const char* path, std::vector<std::string> folders) {
  RunOptions options;
  options.folders = std::move(folders);
  return MirroredFolder(path, options);
}

TEST(MirroredFolder, IsWhereTheLogLiesBelowItsFolder) {
  EXPECT_EQ(Folder("/ev/host/Logs/a.evtx", {"/ev"}), "host/Logs");
  EXPECT_EQ(Folder("/ev/host/Logs/a.evtx", {"/ev/"}), "host/Logs");
  EXPECT_EQ(Folder("/ev/a.evtx", {"/ev"}), "");
  EXPECT_EQ(Folder("/ev/a.evtx", {"/"}), "ev");
  EXPECT_EQ(Folder("./x/a.evtx", {"."}), "x");
}

TEST(MirroredFolder, IsNoneForOtherLogs) {
  EXPECT_EQ(Folder("/ev/host/a.evtx", {}), "");
  EXPECT_EQ(Folder("/evidence/a.evtx", {"/ev"}), "");
}

TEST(MirroredFolder, BeginsWithTheNameOfOneOfSeveralFolders) {
  EXPECT_EQ(Folder("/ev/one/Logs/a.evtx", {"/ev/one/", "/ev/two"}), "one/Logs");
  EXPECT_EQ(Folder("/ev/two/a.evtx", {"/ev/one", "/ev/two"}), "two");
  EXPECT_EQ(Folder("../x/a.evtx", {"..", "/ev"}), "x");
  EXPECT_EQ(Folder("/x/a.evtx", {"/", "/ev"}), "x");
}

}  // namespace
}  // namespace tarnlex
