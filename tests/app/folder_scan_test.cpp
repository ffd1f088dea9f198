#include "app/folder_scan.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <string>
#include <vector>

#include "tests/app/prepared_run.h"
#include "tests/app/temp_directory.h"

namespace tarnlex {
namespace {

struct FolderScanTest : testing::Test {
  TempDirectory directory;
  LogTable logs;
  FolderScan scan;

  void Scan(Judgement judgement = Judgement::kByName) {
    ScanFolder(directory.path, judgement, logs, scan, {});
  }

  // Paths of the logs below the directory.
  std::vector<std::string> Found() const {
    std::vector<std::string> names;
    for (const auto& [path, log] : logs) names.push_back(path.substr(directory.path.size() + 1));
    return names;
  }
};

using Names = std::vector<std::string>;

TEST_F(FolderScanTest, FindsLogsByTheirBytesInOrderOfPath) {
  directory.AddFile("b/Security.evtx", EmptyEvtx());
  directory.AddFile("b/deep/er/no name at all", EmptyEvt());
  directory.AddFile("a-1/x.txt", EmptyEvtx());
  directory.AddFile("a/y.EVT", EmptyEvt());
  directory.AddFile("a/System.evtx", "just some text, no log");
  directory.AddFile("empty.evtx", "");
  Scan();
  EXPECT_EQ(Found(),
            (Names{"a-1/x.txt", "a/y.EVT", "b/Security.evtx", "b/deep/er/no name at all"}));
  EXPECT_EQ(logs.at(directory.path + "/b/Security.evtx").kind, kKindSecurity);
  EXPECT_FALSE(logs.at(directory.path + "/a/y.EVT").is_evtx);
  EXPECT_EQ(FoundText(scan), "found 4 event logs; 2 other files\n");
  EXPECT_EQ(UnreadText(scan.unread), "");
}

TEST_F(FolderScanTest, FollowsNoLinkAndOpensNothingSpecial) {
  const TempDirectory outside;
  outside.AddFile("out.evtx", EmptyEvtx());
  const std::string log = directory.AddFile("a.evtx", EmptyEvtx());
  std::filesystem::create_symlink(log, directory.path + "/same.evtx");
  std::filesystem::create_directory_symlink(outside.path, directory.path + "/away");
  std::filesystem::create_directory_symlink(directory.path, directory.path + "/round");
  ASSERT_EQ(mkfifo((directory.path + "/pipe.evtx").c_str(), 0600), 0);
  Scan();
  EXPECT_EQ(Found(), Names{"a.evtx"});
  EXPECT_EQ(FoundText(scan),
            "found 1 event log; 3 links not followed; 1 special file left alone\n");
}

TEST_F(FolderScanTest, ReadsAFolderThatIsNamedByALinkOnceHoweverItIsSpelled) {
  directory.AddFile("in/a.evtx", EmptyEvtx());
  std::filesystem::create_directory_symlink("in", directory.path + "/link");
  ScanFolder(directory.path + "/link", Judgement::kByName, logs, scan, {});
  EXPECT_EQ(Found(), Names{"link/a.evtx"});
  Scan();
  ScanFolder(directory.path + "/./in", Judgement::kByName, logs, scan, {});
  EXPECT_EQ(Found(), Names{"link/a.evtx"});
}

TEST_F(FolderScanTest, GoesAsDeepAsPathsDo) {
  std::string folder;
  while (folder.size() < 1500) folder += "d/";
  std::string made = directory.path;
  for (std::size_t i = 0; i < folder.size() / 2; ++i) {
    made += "/d";
    ASSERT_EQ(mkdir(made.c_str(), 0700), 0);
  }
  directory.AddFile(folder + "a.evtx", EmptyEvtx());
  Scan();
  EXPECT_EQ(Found(), Names{folder + "a.evtx"});
}

TEST_F(FolderScanTest, NamesTheFirstOfWhatItCannotRead) {
  if (geteuid() == 0) {
    scan = {};
    for (int i = 0; i < 12; ++i) {
      ScanFolder(directory.path + "/none" + std::to_string(i), Judgement::kByName, logs, scan, {});
    }
  } else {
    for (int i = 0; i < 12; ++i) {
      const std::string folder = directory.path + "/shut" + std::to_string(i);
      ASSERT_EQ(mkdir(folder.c_str(), 0), 0);
    }
    Scan();
  }
  const std::string text = UnreadText(scan.unread);
  EXPECT_TRUE(text.starts_with("prob reading folder " + directory.path));
  EXPECT_EQ(std::count(text.begin(), text.end(), '\n'), 11);
  EXPECT_TRUE(text.ends_with("skipping 2 more like these\n"));
}

// The file header is gone, the first chunk stands where it has to.
std::string LogWithoutHeader() {
  std::string bytes(4096 + 65'536, '\0');
  return bytes.replace(4096, 8, "ElfChnk\0", 8);
}

TEST_F(FolderScanTest, NamesALogWithADamagedHeaderOrReadsIt) {
  const std::string log = directory.AddFile("a.evtx", LogWithoutHeader());
  Scan();
  EXPECT_TRUE(logs.empty());
  EXPECT_EQ(UnreadText(scan.unread),
            "damaged header of log " + log + ", skipping; -complete reads it\n");
  scan = {};
  Scan(Judgement::kByContents);
  EXPECT_EQ(Found(), Names{"a.evtx"});
  EXPECT_EQ(UnreadText(scan.unread), "");
}

// Whoever gives a log of -log once more below a folder is told of it once.
TEST_F(FolderScanTest, LeavesListedFilesToTheList) {
  const std::string damaged = directory.AddFile("a.evtx", LogWithoutHeader());
  const std::string notes = directory.AddFile("notes.txt", "just some text, no log");
  for (const std::string& path : {damaged, notes}) logs[path].path = path;
  Scan();
  EXPECT_EQ(logs.size(), 2U);
  EXPECT_TRUE(scan.unread.empty());
  EXPECT_EQ(FoundText(scan), "found 0 event logs\n");
}

TEST_F(FolderScanTest, EndsWhenItIsTold) {
  for (const char* name : {"a.evtx", "b.evtx", "c/d.evtx"}) directory.AddFile(name, EmptyEvtx());
  int asked = 0;
  ScanFolder(directory.path, Judgement::kByName, logs, scan, [&asked] { return ++asked > 1; });
  EXPECT_TRUE(scan.stopped);
  EXPECT_EQ(Found(), Names{"a.evtx"});
}

TEST(DirOption, TakesFoldersBesideLogs) {
  const TempDirectory directory;
  directory.AddFile("one/a.evtx", EmptyEvtx());
  directory.AddFile("two/b.evtx", EmptyEvtx());
  const std::string log = directory.AddFile("c.evtx", EmptyEvtx());
  const PreparedRun run(
      {"-dir", directory.path + "/one | " + directory.path + "/two", "-log", log});
  EXPECT_TRUE(run.prepared);
  EXPECT_EQ(run.said, "found 2 event logs\n");
  EXPECT_EQ(run.run.logs.size(), 3U);
}

TEST(DirOption, NeedsALog) {
  const TempDirectory directory;
  directory.AddFile("notes.txt", "just some text, no log");
  const PreparedRun empty({"-dir", directory.path});
  EXPECT_FALSE(empty.prepared);
  EXPECT_EQ(empty.said, "found 0 event logs; 1 other file\nno event log found, aborting\n");
  const PreparedRun gone({"-quiet", "-dir", directory.path + "/gone"});
  EXPECT_FALSE(gone.prepared);
  EXPECT_EQ(gone.said, "prob reading folder " + directory.path +
                           "/gone, skipping\nno event log found, aborting\n");
}

TEST(DirOption, CountsWhatCannotBeReadAndLeavesItsNameToTheEnd) {
  const TempDirectory directory;
  directory.AddFile("a.evtx", LogWithoutHeader());
  directory.AddFile("b.evtx", EmptyEvtx());
  const PreparedRun run({"-dir", directory.path + "|" + directory.path + "/gone"});
  EXPECT_TRUE(run.prepared);
  EXPECT_EQ(run.said, "found 1 event log; 2 not read\n");
  EXPECT_EQ(run.run.account.not_searched.names, Names{directory.path + "/gone"});
  EXPECT_EQ(run.run.account.passed_over.names, Names{directory.path + "/a.evtx"});
}

TEST(DirOption, IsNotReadBesidePipedPathsNorSystems) {
  EXPECT_EQ(PreparedRun({"-dir", "/", "-pipe"}).said,
            "Error, can't use -dir with -pipe option, aborting\n");
  EXPECT_EQ(PreparedRun({"-dir", "/", "-partition", "/mnt"}).said,
            "Error, can't use -partition with -dir option, aborting\n");
}

TEST(DirOption, SaysWhatItFoundOfQuietRunsWhereSomethingWasLeftAlone) {
  const TempDirectory directory;
  const std::string log = directory.AddFile("a.evtx", EmptyEvtx());
  EXPECT_EQ(PreparedRun({"-quiet", "-dir", directory.path}).said, "");
  std::filesystem::create_symlink(log, directory.path + "/link");
  EXPECT_EQ(PreparedRun({"-quiet", "-dir", directory.path}).said,
            "found 1 event log; 1 link not followed\n");
}

}  // namespace
}  // namespace tarnlex
