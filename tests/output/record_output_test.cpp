#include "output/record_output.h"

#include <gtest/gtest.h>

#include <map>
#include <string>

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
  RecordOutput output = MakeRecordOutput(standard_output, OpenerOf(files));
  RunOptions options;

  RecordOutputTest() {
    options.messages = &messages;
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

}  // namespace
}  // namespace tarnlex
