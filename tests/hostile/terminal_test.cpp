// What a log's author writes does not act on the examiner's terminal.
#include <gtest/gtest.h>

#include <cstdlib>

#include "output/visible_text.h"
#include "tests/app/temp_directory.h"
#include "tests/support/child_run.h"
#include "tests/support/evtx_builder.h"

namespace tarnlex {
namespace {

std::string Visible(std::string_view text, std::string kept = {}) {
  VisibleText state{std::move(kept), {}};
  return MakeVisible(state, text) + state.pending;
}

TEST(VisibleText, ShowsWhatWouldActOnATerminal) {
  EXPECT_EQ(Visible("plain \xC3\xA4\xE2\x82\xAC\xF0\x9F\x98\x80\n"),
            "plain \xC3\xA4\xE2\x82\xAC\xF0\x9F\x98\x80\n");
  EXPECT_EQ(Visible("\x1B[2J\x07\b\r\t\x7F"), "\\x1b[2J\\x07\\x08\\x0d\\x09\\x7f");
  EXPECT_EQ(Visible(std::string_view("a\0b", 3)), "a\\x00b");
  EXPECT_EQ(Visible("\xC2\x9B\xC2\x80\xC2\x9F\xC2\xA0"), "\\u009b\\u0080\\u009f\xC2\xA0");
  EXPECT_EQ(Visible("\xE2\x80\xAE\xE2\x81\xA6\xE2\x80\x8F\xD8\x9C"),
            "\\u202e\\u2066\\u200f\\u061c");
  EXPECT_EQ(Visible("\xE2\x80\xA8\xE2\x80\xAF\xE2\x81\xAA"),
            "\xE2\x80\xA8\xE2\x80\xAF\xE2\x81\xAA");
}

TEST(VisibleText, ShowsBytesThatAreNoText) {
  EXPECT_EQ(Visible("\x9B[2J\xFF"), "\\x9b[2J\\xff");
  EXPECT_EQ(Visible("\xC0\x9B\xE0\x82\x9B"), "\\xc0\\x9b\\xe0\\x82\\x9b");
  EXPECT_EQ(Visible("\xED\xA0\x80|"), "\\xed\\xa0\\x80|");
  EXPECT_EQ(Visible("\xF4\x90\x80\x80|"), "\\xf4\\x90\\x80\\x80|");
  EXPECT_EQ(Visible("\xE2\x80|"), "\\xe2\\x80|");
}

TEST(VisibleText, KeepsTheProgramsOwnControls) {
  EXPECT_EQ(Visible("a\tb\b\n", "\t\b"), "a\tb\b\n");
}

TEST(VisibleText, JoinsCharactersThatPiecesCut) {
  const std::string text =
      "a\xC3\xA4\xE2\x80\xAE\xF0\x9F\x98\x80\xC2\x9B\x9B"
      "z\n";
  for (std::size_t cut = 0; cut <= text.size(); ++cut) {
    VisibleText state;
    std::string shown = MakeVisible(state, std::string_view(text).substr(0, cut));
    shown += MakeVisible(state, std::string_view(text).substr(cut));
    EXPECT_EQ(shown, Visible(text)) << cut;
  }
}

constexpr std::string_view kAttack =
    "\x1B]0;owned\x07\x1B[2J\xC2\x9B"
    "31m\xE2\x80\xAE"
    "dcba\x7F\t";

std::string AttackLog(const TempDirectory& directory) {
  support::EvtxBuilder log;
  log.AddEvent({.event_id = 4624,
                .data = {{"TargetUserName", kAttack},
                         {"Raw", support::AnsiStringValue("\x9B"
                                                          "31m")},
                         {std::string("na\x1Bme"), "x"}}});
  const support::ByteString bytes = log.Build();
  return directory.AddFile("a\x1B.evtx",
                           {reinterpret_cast<const char*>(bytes.data()), bytes.size()});
}

bool HasControls(std::string_view text) {
  for (const char c : text) {
    if ((static_cast<unsigned char>(c) < 0x20 && c != '\n') || c == 0x7F) return true;
  }
  return text.find("\xE2\x80\xAE") != std::string_view::npos ||
         text.find('\x9B') != std::string_view::npos;
}

// What the program colours by itself.
void TakeOutColors(std::string& text) {
  for (const std::string_view code : {"\x1b[0m", "\x1b[1m", "\x1b[31m", "\x1b[33m"}) {
    for (std::size_t at; (at = text.find(code)) != std::string::npos;) text.erase(at, code.size());
  }
}

// Whether a run on a terminal, with these arguments beside, colours anything.
bool ColorsOnTerminal(const std::string& log, std::vector<std::string> args) {
  args.insert(args.end(), {"-quiet", "-log", log});
  std::string shown;
  support::RunOnTerminal(TARNLEX_PROGRAM, args, shown);
  EXPECT_NE(shown.find("Record#"), std::string::npos);
  return shown.find("\x1b[1m") != std::string::npos;
}

TEST(Terminal, IsColouredUnlessSomebodyObjects) {
  const TempDirectory directory;
  const std::string log = AttackLog(directory);
  setenv("TERM", "xterm", 1);
  unsetenv("NO_COLOR");
  EXPECT_TRUE(ColorsOnTerminal(log, {}));
  EXPECT_TRUE(ColorsOnTerminal(log, {"-cards"}));
  EXPECT_FALSE(ColorsOnTerminal(log, {"-csv"}));
  EXPECT_FALSE(ColorsOnTerminal(log, {"-color", "never"}));
  setenv("TERM", "dumb", 1);
  EXPECT_FALSE(ColorsOnTerminal(log, {}));
  setenv("TERM", "xterm", 1);
  setenv("NO_COLOR", "1", 1);
  EXPECT_FALSE(ColorsOnTerminal(log, {}));
  EXPECT_TRUE(ColorsOnTerminal(log, {"-color", "always"}));
  unsetenv("NO_COLOR");
  const std::string out = directory.path + "/out";
  support::RunChild(TARNLEX_PROGRAM, {"-quiet", "-log", log}, out);
  EXPECT_EQ(ReadFile(out).find("\x1b[1m"), std::string::npos);
}

TEST(Terminal, GetsNoControlsFromALog) {
  const TempDirectory directory;
  const std::string log = AttackLog(directory);
  for (const char* form :
       {"-verbose", "-csv", "-csvgen", "-csvl2t", "-bodyfile", "-multiline", "-cards"}) {
    std::string shown;
    const support::ChildRun run = support::RunOnTerminal(
        TARNLEX_PROGRAM,
        {"-quiet", form, "-allparams", "-color", "always", "-width", "0", "-log", log}, shown);
    EXPECT_EQ(run.exit_code, 0) << run.err;
    TakeOutColors(shown);
    EXPECT_FALSE(HasControls(shown)) << form << testing::PrintToString(shown);
    EXPECT_NE(shown.find("\\x1b]0;owned\\x07\\x1b[2J\\u009b31m\\u202edcba\\x7f\\x09"),
              std::string::npos)
        << form << testing::PrintToString(shown);
  }
}

TEST(Terminal, GetsTheTabsThatSeparate) {
  const TempDirectory directory;
  const std::string log = AttackLog(directory);
  std::string shown;
  support::RunOnTerminal(TARNLEX_PROGRAM,
                         {"-quiet", "-csvgen", "-csv_separator", "tab", "-log", log}, shown);
  EXPECT_NE(shown.find("Record#\tEventID\tDate"), std::string::npos);
}

TEST(Terminal, FilesAndPipesGetTheBytesAsTheyAre) {
  const TempDirectory directory;
  const std::string log = AttackLog(directory);
  const std::string out = directory.path + "/out";
  ASSERT_EQ(support::RunChild(TARNLEX_PROGRAM, {"-quiet", "-csvgen", "-log", log}, out).exit_code,
            0);
  EXPECT_NE(ReadFile(out).find(kAttack), std::string::npos);
  std::string shown;
  support::RunOnTerminal(TARNLEX_PROGRAM, {"-quiet", "-csvgen", "-log", log, "-out", out}, shown);
  EXPECT_NE(ReadFile(out).find(kAttack), std::string::npos);
}

}  // namespace
}  // namespace tarnlex
