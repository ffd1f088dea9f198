#include "output/cell_cleaner.h"

#include <gtest/gtest.h>

#include <string>
#include <string_view>

#include "logs/text.h"

namespace tarnlex {
namespace {

// `text` cleaned in place as far as the first line break; what stands behind it is cut off.
std::string Replaced(const CellCleaner& cleaner, std::string_view text) {
  std::string room(text);
  room.resize(text.size() + kCellBlock, '?');
  const char* stop = ReplaceInPlace(cleaner, room.data(), room.data() + text.size());
  return room.substr(0, static_cast<std::size_t>(stop - room.data()));
}

// The marks of the line breaks at the beginning of `text`.
std::string Marked(std::string_view text, std::size_t room, std::size_t& taken) {
  std::string out(room, '?');
  char* at = out.data();
  taken = MarkLineBreaks(text.data(), text.data() + text.size(), room, at);
  return out.substr(0, static_cast<std::size_t>(at - out.data()));
}

TEST(CellCleaner, CountsCharactersOfTextsOfEveryLength) {
  const std::string letters =
      "a\xC3\xA4\xE2\x82\xAC\xF0\x9F\x98\x80 and plain letters behind \xC3\xA9";
  for (std::size_t begin = 0; begin < letters.size(); ++begin) {
    for (std::size_t length = 0; begin + length <= letters.size(); ++length) {
      // What lies behind the text does not count.
      std::string room = letters.substr(begin, length);
      room.resize(length + kCellBlock, 'x');
      const std::string_view text(room.data(), length);
      ASSERT_EQ(CountCellCharacters(text), CountCodePoints(text)) << begin << ' ' << length;
    }
  }
}

TEST(CellCleaner, ReplacesWherePulledValuesHoldCommasAndSeparators) {
  const CellCleaner bars = MakeCellCleaner({'|', ';'}, true);
  EXPECT_EQ(Replaced(bars, "a,b|c and a block further on, d|"), "a;b;c and a block further on; d;");
  EXPECT_EQ(Replaced(bars, ""), "");
  const CellCleaner commas = MakeCellCleaner({',', ' '}, false);
  EXPECT_EQ(Replaced(commas, "a,b|c"), "a b|c");
}

TEST(CellCleaner, StopsAtALineBreakWhereverItStands) {
  const CellCleaner cleaner = MakeCellCleaner({',', ' '}, true);
  for (std::size_t before = 0; before < 3 * kCellBlock; ++before) {
    EXPECT_EQ(Replaced(cleaner, std::string(before, ',') + "\nrest"), std::string(before, ';'));
    EXPECT_EQ(Replaced(cleaner, std::string(before, 'x') + "\r"), std::string(before, 'x'));
  }
}

TEST(MarkLineBreaks, TakesTheLongestBreakAndEveryOneThatFollows) {
  std::size_t taken = 0;
  EXPECT_EQ(Marked("\r\nx", 64, taken), "[CRLF]");
  EXPECT_EQ(taken, 2U);
  EXPECT_EQ(Marked("\n\r\r\n\n", 64, taken), "[LFCR][CRLF][LF]");
  EXPECT_EQ(taken, 5U);
  EXPECT_EQ(Marked("\r\r\rx", 64, taken), "[CR][CR][CR]");
  EXPECT_EQ(taken, 3U);
}

TEST(MarkLineBreaks, LeavesWhatHasNoRoomForLater) {
  for (std::size_t room = kLineBreakRoom; room < 40; ++room) {
    std::string_view text = "\r\r\n\n\n\r\n\n\r\r\n";
    std::string all;
    while (!text.empty()) {
      std::size_t taken = 0;
      const std::string marks = Marked(text, room, taken);
      ASSERT_LE(marks.size(), room);
      ASSERT_GT(taken, 0U);
      all += marks;
      text.remove_prefix(taken);
    }
    EXPECT_EQ(all, "[CR][CRLF][LF][LFCR][LF][LFCR][CRLF]") << room;
  }
}

}  // namespace
}  // namespace tarnlex
