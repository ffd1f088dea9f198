#include "output/record_output.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <map>
#include <set>
#include <string>

#include "tests/app/temp_directory.h"
#include "tests/output/row_maker.h"

namespace tarnlex {
namespace {

// Files of a run, kept in memory.
struct FakeFiles {
  std::map<std::string, std::string> content;
  std::string refused;  // a path that cannot be opened
  int opened = 0;
};

OutputOpener OpenerOf(FakeFiles& files) {
  return [&files](const std::string& path,
                  bool append) -> std::optional<std::function<bool(std::string_view)>> {
    if (path == files.refused) return std::nullopt;
    ++files.opened;
    std::string& content = files.content[path];
    if (!append) content.clear();
    return [&content](std::string_view text) {
      content.append(text);
      return true;
    };
  };
}

struct RecordOutputTest : testing::Test {
  FakeFiles files;
  std::string printed;
  std::string said;
  TextSink standard_output = MakeStringSink(printed);
  TextSink messages = MakeStringSink(said);
  RecordOutput output = MakeRecordOutput(standard_output, messages, OpenerOf(files));
  RunOptions options;

  RecordOutputTest() {
    options.delimited = true;
    options.separator = ",";
    options.csv_form = true;
  }

  bool Write(const std::string& path, std::uint64_t record, bool with_row = true) {
    EventRows rows;
    if (with_row) AddRow(rows, {.record = record, .event = 7});
    return WriteRecords(output, rows, LogAt(path), options);
  }

  std::string Expected(const std::string& path, std::uint64_t record) {
    return "Record#,EventID,Date,Time-UTC,Level,Provider Name,event log\n" +
           std::to_string(record) + ",7,03/07/2012, 14:05:09.123,info,," + path + "\n\n";
  }
};

TEST_F(RecordOutputTest, GoesToStandardOutputWithoutOptions) {
  EXPECT_TRUE(Write("a.evtx", 1));
  EXPECT_FALSE(Write("b.evtx", 1, false));
  EXPECT_EQ(printed, Expected("a.evtx", 1));
  EXPECT_EQ(files.opened, 0);
}

TEST_F(RecordOutputTest, OneFileTakesAllLogsAndIsOpenedOnce) {
  options.to_file = true;
  options.out_file = "all.csv";
  files.content["all.csv"] = "old";
  EXPECT_TRUE(Write("a.evtx", 1));
  EXPECT_TRUE(Write("b.evtx", 2));
  CloseRecordOutput(output);
  EXPECT_EQ(files.content["all.csv"], Expected("a.evtx", 1) + Expected("b.evtx", 2));
  EXPECT_EQ(files.opened, 1);
  EXPECT_EQ(printed, "");
}

TEST_F(RecordOutputTest, AFileNameTogetherWithADirectoryIsOneFile) {
  options.to_file = true;
  options.have_out_dir = true;
  options.out_dir = "dir";
  options.out_file = "dir/all.csv";
  EXPECT_TRUE(Write("a.evtx", 1));
  EXPECT_TRUE(Write("b.evtx", 2));
  EXPECT_EQ(files.content.size(), 1U);
  EXPECT_EQ(files.content.count("dir/all.csv"), 1U);
}

TEST_F(RecordOutputTest, ADirectoryTakesAFileForEveryLog) {
  options.have_out_dir = true;
  options.out_dir = "dir";
  EXPECT_TRUE(Write("x/System.evtx", 1));
  EXPECT_TRUE(Write("y\\Security.evtx", 2));
  EXPECT_FALSE(Write("y/Empty.evtx", 3, false));
  ASSERT_EQ(files.content.size(), 2U);
  EXPECT_EQ(files.content["dir/System.evtx.csv"], Expected("x/System.evtx", 1));
  EXPECT_EQ(files.content["dir/Security.evtx.csv"], Expected("y\\Security.evtx", 2));
}

TEST_F(RecordOutputTest, LogsOfOneNameGetNumberedFiles) {
  options.have_out_dir = true;
  options.out_dir = "dir";
  EXPECT_TRUE(Write("x/System.evtx", 1));
  EXPECT_TRUE(Write("y/SYSTEM.evtx", 2));
  EXPECT_TRUE(Write("z/System.evtx", 3));
  ASSERT_EQ(files.content.size(), 3U);
  EXPECT_EQ(files.content["dir/SYSTEM.evtx_2.csv"], Expected("y/SYSTEM.evtx", 2));
  EXPECT_EQ(files.content["dir/System.evtx_3.csv"], Expected("z/System.evtx", 3));
}

TEST_F(RecordOutputTest, ALogVisitedAgainGoesOnInItsFile) {
  options.have_out_dir = true;
  options.out_dir = "dir";
  files.content["dir/a.evtx.csv"] = "old";
  EXPECT_TRUE(Write("a.evtx", 1));
  EXPECT_TRUE(Write("a.evtx", 2));
  EXPECT_EQ(files.opened, 1);
  EXPECT_TRUE(Write("b.evtx", 3));
  EXPECT_TRUE(Write("a.evtx", 4));
  EXPECT_EQ(files.opened, 3);
  EXPECT_EQ(files.content["dir/a.evtx.csv"],
            Expected("a.evtx", 1) + Expected("a.evtx", 2) + Expected("a.evtx", 4));
}

TEST_F(RecordOutputTest, TheExtensionFollowsTheForm) {
  options.have_out_dir = true;
  options.out_dir = "dir";
  Write("csv", 1);
  options.csv_form = false;
  Write("table", 1);
  options.csvgen_form = true;
  Write("csvgen", 1);
  options.csvgen_form = false;
  options.l2t_form = true;
  Write("l2t", 1);
  options.l2t_form = false;
  options.bodyfile_form = true;
  Write("body", 1);
  options.bodyfile_form = false;
  options.multiline_form = true;
  Write("lines", 1);
  std::vector<std::string> names;
  for (const auto& [name, content] : files.content) names.push_back(name);
  EXPECT_EQ(names, (std::vector<std::string>{"dir/body.body", "dir/csv.csv", "dir/csvgen.csv",
                                             "dir/l2t.csv", "dir/lines.txt", "dir/table.txt"}));
}

TEST_F(RecordOutputTest, TimelineHeadersAreWrittenOncePerFile) {
  options.bodyfile_form = true;
  options.have_out_dir = true;
  options.out_dir = "dir";
  Write("a", 1);
  Write("b", 1);
  Write("a", 1);
  const std::string line = "0|Event ID: 7|0||0|0|0|1331129109|1331129109|1331129109|1331129109\n";
  const std::string header =
      "md5|name|inode|mode as string|uid|gid|size|access time|modify time|mft time|create time\n";
  EXPECT_EQ(files.content["dir/a.body"], header + line + line);
  EXPECT_EQ(files.content["dir/b.body"], header + line);
  options.have_out_dir = false;
  Write("a", 1);
  Write("b", 1);
  EXPECT_EQ(printed, header + line + line);
}

TEST_F(RecordOutputTest, SaysOnceWhichFileCannotBeOpened) {
  options.have_out_dir = true;
  options.out_dir = "dir";
  files.refused = "dir/a.evtx.csv";
  EXPECT_FALSE(Write("a.evtx", 1));
  EXPECT_FALSE(Write("a.evtx", 2));
  EXPECT_TRUE(Write("b.evtx", 3));
  EXPECT_EQ(said, "prob opening file dir/a.evtx.csv for output, aborting\n");
  EXPECT_EQ(files.content.size(), 1U);
  EXPECT_TRUE(output.refused);
}

// Real files, since what is removed is looked at before.
struct StaleFilesTest : testing::Test {
  TempDirectory directory;
  std::string said;
  TextSink standard_output = MakeStringSink(said);
  TextSink messages = MakeStringSink(said);
  RecordOutput output = MakeRecordOutput(standard_output, messages);
  RunOptions options;

  StaleFilesTest() {
    options.delimited = options.csv_form = options.have_out_dir = true;
    options.separator = ",";
    options.out_dir = directory.path;
  }

  void AddOld(const std::string& name) const { directory.AddFile(name, "old"); }

  // One log of a run, with or without a row.
  void Visit(const std::string& path, bool with_row) {
    ExpectLogs(output, {{path, LogAt(path)}}, options);
    EventRows rows;
    if (with_row) AddRow(rows, {});
    WriteRecords(output, rows, LogAt(path), options);
  }

  // The names of the files that stay, those with new content marked.
  std::set<std::string> Left() {
    RemoveStaleFiles(output, options);
    CloseRecordOutput(output);
    std::set<std::string> names;
    for (const auto& entry : std::filesystem::directory_iterator(directory.path)) {
      const bool old = !entry.is_regular_file() || ReadFile(entry.path().string()) == "old";
      names.insert(entry.path().filename().string() + (old ? "" : " new"));
    }
    return names;
  }
};

using Names = std::set<std::string>;

TEST_F(StaleFilesTest, GoWithTheRecordsOfTheirLog) {
  for (const char* name : {"a.evtx.csv", "b.evtx.csv", "c.evtx.csv", "a.evtx.txt"}) AddOld(name);
  Visit("x/a.evtx", false);
  Visit("x/b.evtx", true);
  EXPECT_EQ(Left(), (Names{"a.evtx.txt", "b.evtx.csv new", "c.evtx.csv"}));
  EXPECT_EQ(said, "");
  EXPECT_FALSE(output.refused);
}

TEST_F(StaleFilesTest, AreNeverThoseThatThisRunWrote) {
  for (const char* name : {"a.evtx.csv", "a.evtx_2.csv", "a.evtx_3.csv"}) AddOld(name);
  Visit("x/a.evtx", false);
  Visit("y/a.evtx", true);
  Visit("x/a.evtx", false);
  Visit("y/a.evtx", false);
  EXPECT_EQ(Left(), (Names{"a.evtx.csv new", "a.evtx_3.csv"}));
}

TEST_F(StaleFilesTest, AreOfNoLogThatHasRecordsLater) {
  AddOld("a.evtx.csv");
  Visit("a.evtx", false);
  Visit("a.evtx", true);
  EXPECT_EQ(Left(), Names{"a.evtx.csv new"});
}

TEST_F(StaleFilesTest, AreAllOfOneName) {
  for (const char* name : {"a.evtx.csv", "a.evtx_2.csv"}) AddOld(name);
  Visit("x/a.evtx", false);
  Visit("y/a.evtx", false);
  EXPECT_EQ(Left(), Names{});
}

TEST_F(StaleFilesTest, AreNoLinksAndNoDirectories) {
  AddOld("kept");
  std::filesystem::create_symlink("kept", directory.path + "/a.evtx.csv");
  std::filesystem::create_directory(directory.path + "/b.evtx.csv");
  Visit("a.evtx", false);
  Visit("b.evtx", false);
  EXPECT_EQ(Left(), (Names{"a.evtx.csv", "b.evtx.csv", "kept"}));
  EXPECT_EQ(said, "");
}

TEST_F(StaleFilesTest, AreNoOtherFilesOfTheRun) {
  for (const char* name : {"a", "b", "c", "d"}) AddOld(name + std::string(".csv"));
  options.stats_file = directory.path + "/a.csv";
  options.diags_file = directory.path + "/b.csv";
  options.cmd_file = directory.path + "/c.csv";
  for (const char* log : {"a", "b", "c", "d"}) Visit(log, false);
  EXPECT_EQ(Left(), (Names{"a.csv", "b.csv", "c.csv"}));
  EXPECT_EQ(said, "");
}

TEST_F(StaleFilesTest, AreNoOtherNamesOfFilesOfTheRun) {
  AddOld("a.csv");
  std::filesystem::create_hard_link(directory.path + "/a.csv", directory.path + "/b.csv");
  Visit("a", true);
  Visit("b", false);
  EXPECT_EQ(Left(), (Names{"a.csv new", "b.csv new"}));
}

TEST_F(StaleFilesTest, AreNoneWithOneFileForAllLogs) {
  AddOld("a.evtx.csv");
  options.to_file = true;
  options.out_file = directory.path + "/all";
  Visit("a.evtx", false);
  EXPECT_EQ(Left(), Names{"a.evtx.csv"});
}

TEST_F(RecordOutputTest, NamesFilesByThePartThatTheyHold) {
  options.have_out_dir = true;
  options.out_dir = "d";
  options.json_form = true;
  options.part = 3;
  options.parts = 16;
  for (const char* log : {"a/Security.evtx", "b/Security.evtx"}) {
    ASSERT_NE(RecordSink(output, LogAt(log), options), nullptr);
  }
  EXPECT_TRUE(files.content.contains("d/Security.evtx_part03of16.jsonl"));
  EXPECT_TRUE(files.content.contains("d/Security.evtx_part03of16_2.jsonl"));
}

}  // namespace
}  // namespace tarnlex
