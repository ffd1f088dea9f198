#include "logs/status_line.h"

#include <gtest/gtest.h>

namespace tarnlex {
namespace {

const std::string kBack(80, '\b');

TEST(StatusLine, OverwritesSixtyColumns) {
  EXPECT_EQ(StatusLine("analyzing: a"), kBack + "analyzing: a" + std::string(48, ' ') + kBack);
}

TEST(StatusLine, RemovesLineBreaksBeforeItPads) {
  EXPECT_EQ(StatusLine(" \n"), kBack + std::string(60, ' ') + kBack);
  EXPECT_EQ(StatusLine("a\r\nb"), kBack + "ab" + std::string(58, ' ') + kBack);
}

TEST(StatusLine, CutsMessagesAt255Characters) {
  EXPECT_EQ(StatusLine(std::string(300, 'x')), kBack + std::string(255, 'x') + kBack);
}

TEST(StatusLine, PadsByCharactersNotBytes) {
  EXPECT_EQ(StatusLine("é"), kBack + "é" + std::string(59, ' ') + kBack);
}

TEST(AnalyzingText, DropsPercentSignsAndCutsAt45Characters) {
  EXPECT_EQ(AnalyzingText("a%4b%.evtx"), "analyzing: a4b.evtx");
  EXPECT_EQ(AnalyzingText(std::string(46, 'p')), "analyzing: " + std::string(45, 'p'));
  EXPECT_EQ(AnalyzingText("%" + std::string(45, 'p')), "analyzing: " + std::string(45, 'p'));
  EXPECT_EQ(AnalyzingText(std::string(44, 'p') + "éz"), "analyzing: " + std::string(44, 'p') + "é");
}

}  // namespace
}  // namespace tarnlex
