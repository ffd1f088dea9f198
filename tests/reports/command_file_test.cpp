#include "reports/command_file.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <fstream>
#include <iterator>
#include <string>

namespace tarnlex {
namespace {

using Lines = std::vector<TokenList>;

Lines Parse(std::string_view text) {
  Lines lines;
  ParseCommandText(text, lines);
  return lines;
}

TEST(CommandFile, KeepsItsCommandsInOrder) {
  EXPECT_EQ(Parse("// report\r\n"
                  "!cmd, -enum_evtxlog, -id, 1\r\n"
                  "\r\n"
                  "//!cmd, -enum_evtxlog, -id, 2\r\n"
                  "!run-daily, x\r\n"
                  "note !cmd,-enum_evtlog,-id,3\n"
                  "!cmd, -all_data"),
            (Lines{{"-enum_evtxlog", "-id", "1"}, {"-enum_evtlog", "-id", "3"}, {"-all_data"}}));
}

TEST(CommandFile, PassesOverScriptLines) {
  for (const char* line :
       {"!run-", "!repeat-monthly", "!repeat-weekly", "!repeat-daily", "!timeout-5", "!dir-x",
        "!name-x", "!comment-x", "!spawn-x", "!custom-x", "never", "anything else"}) {
    EXPECT_TRUE(Parse(line).empty()) << line;
  }
}

TEST(CommandFile, AddsToTheLinesThereAre) {
  Lines lines = {{"-all_data"}};
  ParseCommandText("", lines);
  EXPECT_EQ(lines, (Lines{{"-all_data"}}));
  ParseCommandText("nothing here\n", lines);
  EXPECT_EQ(lines, (Lines{{"-all_data"}}));
}

TEST(CommandFile, TakesAByteOrderMarkForNoText) {
  EXPECT_TRUE(Parse("\xEF\xBB\xBF// !cmd, -id, 1\n").empty());
  EXPECT_EQ(Parse("\xEF\xBB\xBF!cmd, -id, 1\n"), (Lines{{"-id", "1"}}));
}

InputFile FileOf(const std::string& text, std::size_t most_at_once) {
  return {text.size(), [&text, most_at_once](std::uint64_t offset, std::span<std::uint8_t> to) {
            const std::size_t at = std::min<std::size_t>(offset, text.size());
            const std::size_t size = std::min({to.size(), text.size() - at, most_at_once});
            if (size > 0) std::memcpy(to.data(), text.data() + at, size);
            return size;
          }};
}

TEST(CommandFile, ReadsWholeFilesInWhateverPiecesTheyCome) {
  std::string text;
  for (int i = 0; i < 5000; ++i) text += "!cmd, -enum_evtxlog, -id, " + std::to_string(i) + "\n";
  const Lines expected = Parse(text);
  ASSERT_EQ(expected.size(), 5000U);
  for (const std::size_t most : {std::size_t{1000}, std::size_t{1} << 20}) {
    Lines lines;
    ParseCommandText(ReadCommandFile(FileOf(text, most)), lines);
    EXPECT_EQ(lines, expected);
  }
  const std::string none;
  Lines lines;
  ParseCommandText(ReadCommandFile(FileOf(none, 100)), lines);
  EXPECT_TRUE(lines.empty());
}

// The example of the documentation must do what is said of it.
TEST(CommandFile, ReadsTheDocumentedExample) {
  std::ifstream in(TARNLEX_DOCS "/examples/accounts.txt");
  ASSERT_TRUE(in.is_open());
  Lines lines;
  ParseCommandText(std::string(std::istreambuf_iterator<char>(in), {}), lines);
  EXPECT_EQ(lines.size(), 8U);
  for (const bool is_evtx : {false, true}) {
    LogInfo log{.path = "x", .is_evtx = is_evtx, .kind = "security"};
    QueryList queries;
    BuildQueries(lines, log, {}, false, queries);
    ASSERT_EQ(queries.size(), 4U);
    EXPECT_EQ(queries[0].name, is_evtx ? "logon/remote desktop" : "logon");
    EXPECT_EQ(queries[is_evtx ? 2 : 1].histogram_fields.size(), is_evtx ? 2U : 1U);
    EXPECT_EQ(queries[3].event_id, is_evtx ? 4720U : kAnyEventId);
    log.kind = "system";
    EXPECT_FALSE(BuildQueries(lines, log, {}, false, queries));
  }
}

}  // namespace
}  // namespace tarnlex
