#include "logs/log_marks.h"

#include <gtest/gtest.h>

#include <string>
#include <string_view>
#include <vector>

namespace tarnlex {
namespace {

// "3c 20r": what is found, and where.
std::string Marks(std::string_view text) {
  const Bytes bytes(reinterpret_cast<const std::uint8_t*>(text.data()), text.size());
  std::string found;
  for (std::size_t at = 0;;) {
    const MarkPlace place = NextMark(bytes, at);
    if (place.mark == LogMark::kNone) {
      EXPECT_EQ(place.at, bytes.size());
      return found;
    }
    if (!found.empty()) found += ' ';
    found += std::to_string(place.at) + " cre"[static_cast<std::size_t>(place.mark)];
    at = place.at + 1;
  }
}

TEST(LogMarks, AreFoundOneByOne) {
  EXPECT_EQ(Marks(""), "");
  EXPECT_EQ(Marks("ElfFile and ElfChnk and LfLe"), "12c 24e");
  EXPECT_EQ(Marks(std::string_view("**\0\0x***\0\0", 11)), "0r 6r");
  EXPECT_EQ(Marks(std::string_view("**\0", 3)), "");
}

TEST(LogMarks, AreFoundWhereverTheyLie) {
  for (std::size_t at = 0; at < 1100; ++at) {
    for (const std::string_view mark :
         {std::string_view("ElfC"), std::string_view("**\0\0", 4), std::string_view("LfLe")}) {
      std::string text(1200, 'E');
      text.replace(at, mark.size(), mark);
      ASSERT_EQ(Marks(text).substr(0, Marks(text).size() - 1), std::to_string(at));
      ASSERT_EQ(Marks(text.substr(0, at + 3)), "") << at;
    }
  }
}

}  // namespace
}  // namespace tarnlex
