#include "event/references.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "tests/support/utf8.h"

namespace tarnlex {
namespace {

std::string EntityText(std::string_view name) {
  std::string text;
  for (const std::string_view part : EntityParts(name)) text += part;
  return text;
}

// The texts that references to the units give one after the other.
std::string Characters(const std::vector<std::uint16_t>& units) {
  std::vector<Node> nodes;
  for (const std::uint16_t unit : units) {
    nodes.push_back({NodeKind::kCharacter, false, unit, 0, {}});
  }
  std::string text;
  for (std::size_t i = 0; i < nodes.size(); ++i) text += CharacterText(nodes, i);
  return text;
}

TEST(References, KnowTheEntitiesOfMarkupAndNoOthers) {
  EXPECT_EQ(EntityText("amp"), "&");
  EXPECT_EQ(EntityText("lt"), "<");
  EXPECT_EQ(EntityText("gt"), ">");
  EXPECT_EQ(EntityText("quot"), "\"");
  EXPECT_EQ(EntityText("apos"), "'");
  for (const std::string name : {"", "Amp", "am", "ampx", "nbsp", "#65"}) {
    EXPECT_EQ(EntityText(name), "&" + name + ";");
  }
}

TEST(References, GiveCharactersByTheirNumber) {
  EXPECT_EQ(Characters({'A'}), "A");
  EXPECT_EQ(Characters({0xE4}), "\xC3\xA4");
  EXPECT_EQ(Characters({0xFFFD}), "\xEF\xBF\xBD");
  EXPECT_EQ(Characters({0}), " ");
  EXPECT_EQ(Characters({'\n'}), "\n");
}

TEST(References, PutSurrogatesTogether) {
  const std::string none = "\xEF\xBF\xBD";
  EXPECT_EQ(Characters({0xD83D, 0xDE00}), "\xF0\x9F\x98\x80");
  EXPECT_EQ(Characters({0xDBFF, 0xDFFF}), "\xF4\x8F\xBF\xBF");
  EXPECT_EQ(Characters({0xD83D, 'x'}), none + "x");
  EXPECT_EQ(Characters({0xDE00, 0xDE00}), none + none);
  EXPECT_EQ(Characters({'a', 0xDE00}), "a" + none);
}

TEST(References, OnlyPutNeighboursTogether) {
  const std::vector<Node> nodes = {{NodeKind::kCharacter, false, 0xD83D, 0, {}},
                                   {NodeKind::kText, false, 0xDE00, 0, "x"},
                                   {NodeKind::kCharacter, false, 0xDE00, 0, {}}};
  EXPECT_EQ(CharacterText(nodes, 0), "\xEF\xBF\xBD");
  EXPECT_EQ(CharacterText(nodes, 2), "\xEF\xBF\xBD");
}

TEST(References, AreUtf8WhateverTheirNumber) {
  for (unsigned unit = 0; unit <= 0xFFFF; ++unit) {
    const auto character = static_cast<std::uint16_t>(unit);
    ASSERT_TRUE(support::IsUtf8(Characters({character}))) << unit;
    ASSERT_TRUE(support::IsUtf8(Characters({character, 0xDC00}))) << unit;
  }
}

}  // namespace
}  // namespace tarnlex
