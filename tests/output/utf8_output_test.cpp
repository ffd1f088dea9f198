#include "output/utf8_output.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace tarnlex {
namespace {

// What comes of pieces, the last of them followed by the end of the file.
std::string Kept(const std::vector<std::string>& pieces) {
  std::string out;
  const auto keep = KeepUtf8([&out](std::string_view piece) {
    out += piece.empty() ? "." : piece;
    return true;
  });
  for (const std::string& piece : pieces) EXPECT_TRUE(keep(piece));
  EXPECT_TRUE(keep({}));
  return out;
}

TEST(Utf8Output, LeavesTextAsItIs) {
  const std::string text = "Grüße, \xF0\x9F\x98\x80\t\x01 and a text longer than a block is, " +
                           std::string(200, 'x') + "€\n";
  EXPECT_EQ(Kept({text}), text + ".");
  std::vector<std::string> bytes;
  for (const char c : text) bytes.emplace_back(1, c);
  EXPECT_EQ(Kept(bytes), text + ".");
}

TEST(Utf8Output, ReplacesEveryByteThatBelongsToNoCharacter) {
  EXPECT_EQ(Kept({"Zo\xEB!"}), "Zo\uFFFD!.");
  EXPECT_EQ(Kept({std::string(63, 'x') + "\xA7"}), std::string(63, 'x') + "\uFFFD.");
  EXPECT_EQ(Kept({"\xC0\x80|\xED\xA0\x80|\xF4\x90\x80\x80|\xFF"}),
            "\uFFFD\uFFFD|\uFFFD\uFFFD\uFFFD|\uFFFD\uFFFD\uFFFD\uFFFD|\uFFFD.");
  EXPECT_EQ(Kept({"\xE2\x82", "x"}), "\uFFFD\uFFFDx.");
  EXPECT_EQ(Kept({"\xE2", "\x82", "\xE2\x82\xAC"}), "\uFFFD\uFFFD€.");
}

TEST(Utf8Output, ReplacesWhatTheEndCutsOff) { EXPECT_EQ(Kept({"a\xE2\x82"}), "a\uFFFD\uFFFD."); }

TEST(Utf8Output, SaysWhenTheTargetRefuses) {
  const auto keep = KeepUtf8([](std::string_view) { return false; });
  EXPECT_FALSE(keep("a"));
  EXPECT_FALSE(keep("\xFF"));
  EXPECT_FALSE(keep({}));
}

}  // namespace
}  // namespace tarnlex
