#include "evtx/substitution.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <utility>
#include <vector>

#include "evtx/fragment.h"
#include "tests/support/binary_xml_builder.h"

namespace tarnlex {
namespace {

using support::ByteString;

// A count, descriptors of `size` bytes each, and the values' bytes.
ByteString ArrayBytes(std::uint32_t count, std::uint16_t size, std::uint8_t type = 0x04) {
  ByteString bytes;
  support::PutU32(bytes, count);
  for (std::uint32_t i = 0; i < count; ++i) {
    support::PutU16(bytes, size);
    support::PutU8(bytes, type);
    support::PutU8(bytes, 0xEE);
  }
  bytes.resize(bytes.size() + std::size_t{count} * size);
  return bytes;
}

TEST(Substitution, TakesUpTo28Values) {
  SlotList slots;
  SubstitutionArray array;
  ASSERT_TRUE(ParseSubstitutionArray(ArrayBytes(28, 2), 0, Policy::kLiteral, slots, array));
  EXPECT_EQ(array.count, 28U);
  EXPECT_EQ(slots[27].offset, 4U + 28 * 4 + 27 * 2);
  EXPECT_EQ(array.end, 4U + 28 * 4 + 28 * 2);
  EXPECT_FALSE(array.cut);
}

TEST(Substitution, RefusesMoreThan28Values) {
  SlotList slots;
  SubstitutionArray array;
  EXPECT_FALSE(ParseSubstitutionArray(ArrayBytes(29, 0), 0, Policy::kLiteral, slots, array));
  EXPECT_EQ(array.count, 0U);
  EXPECT_FALSE(
      ParseSubstitutionArray(support::Hex("FFFFFFFF 00000000"), 0, Policy::kLiteral, slots, array));
}

TEST(Substitution, NeedsEightBytesEvenForNoValues) {
  SlotList slots;
  SubstitutionArray array;
  const ByteString bytes = support::Hex("00000000 00000000");
  EXPECT_TRUE(ParseSubstitutionArray(bytes, 0, Policy::kLiteral, slots, array));
  EXPECT_EQ(array.end, 4U);
  EXPECT_FALSE(ParseSubstitutionArray(bytes, 1, Policy::kLiteral, slots, array));
  EXPECT_FALSE(ParseSubstitutionArray(bytes, 0xFFFFFFFC, Policy::kLiteral, slots, array));
}

TEST(Substitution, RefusesDescriptorsBehindTheChunk) {
  const ByteString bytes = ArrayBytes(3, 0);
  SlotList slots;
  SubstitutionArray array;
  EXPECT_TRUE(ParseSubstitutionArray(bytes, 0, Policy::kLiteral, slots, array));
  EXPECT_FALSE(ParseSubstitutionArray(Bytes(bytes).first(15), 0, Policy::kLiteral, slots, array));
  EXPECT_EQ(array.count, 0U);
}

TEST(Substitution, EndsWithSuccessWhereAValueWouldPassTheChunk) {
  const ByteString bytes = ArrayBytes(3, 4);
  SlotList slots;
  SubstitutionArray array;
  ASSERT_TRUE(ParseSubstitutionArray(Bytes(bytes).first(bytes.size() - 1), 0, Policy::kLiteral,
                                     slots, array));
  EXPECT_EQ(array.count, 2U);
  EXPECT_TRUE(array.cut);
}

TEST(Substitution, PutsValuesBehindThoseOfEarlierArrays) {
  SlotList slots;
  SubstitutionArray array;
  const ByteString bytes = ArrayBytes(3, 2);
  ASSERT_TRUE(ParseSubstitutionArray(bytes, 0, Policy::kLiteral, slots, array));
  ASSERT_TRUE(ParseSubstitutionArray(bytes, 0, Policy::kLiteral, slots, array));
  EXPECT_EQ(array.first, 3U);
  EXPECT_EQ(array.bytes, 6U);
  EXPECT_EQ(slots.count, 6U);
  EXPECT_EQ(slots[5].offset, slots[2].offset);
  std::uint32_t end = 0;
  EXPECT_TRUE(FindArrayEnd(bytes, 0, Policy::kLiteral, end));
  EXPECT_EQ(end, array.end);
  EXPECT_FALSE(FindArrayEnd(ArrayBytes(29, 0), 0, Policy::kLiteral, end));
}

TEST(Substitution, MarksBinaryXmlValues) {
  ByteString bytes = ArrayBytes(3, 1);
  bytes[4 + 4 + 2] = 0x21;
  SlotList slots;
  SubstitutionArray array;
  ASSERT_TRUE(ParseSubstitutionArray(bytes, 0, Policy::kLiteral, slots, array));
  EXPECT_EQ(array.binary_xml, 2U);
}

// Sizes and types of the values of an array, which end with the bytes.
ByteString ArrayOf(const std::vector<std::pair<std::uint16_t, std::uint8_t>>& values) {
  ByteString bytes;
  std::size_t size = 0;
  support::PutU32(bytes, static_cast<std::uint32_t>(values.size()));
  for (const auto& [value_size, type] : values) {
    support::PutU16(bytes, value_size);
    support::PutU8(bytes, type);
    support::PutU8(bytes, 0xFF);
    size += value_size;
  }
  bytes.resize(bytes.size() + size);
  return bytes;
}

// Values are laid out several at a time, but for those at the end of the chunk.
TEST(Substitution, LaysOutAnyNumberOfValuesWhereverTheChunkEnds) {
  for (const std::uint32_t size : {0U, 1U, 700U}) {
    for (std::uint32_t count = 1; count <= 70; ++count) {
      std::vector<std::pair<std::uint16_t, std::uint8_t>> wanted;
      std::uint64_t binary_xml = 0;
      for (std::uint32_t i = 0; i < count; ++i) {
        const bool nests = i % 5 == 3 && i < kSlotBits;
        if (nests) binary_xml |= std::uint64_t{1} << i;
        wanted.emplace_back(i * size % 1000, nests ? kEvtVarTypeEvtBXml : kEvtVarTypeString);
      }
      wanted.back().first = static_cast<std::uint16_t>(std::max(size, 4U));
      SlotList slots;
      SubstitutionArray array;
      ASSERT_TRUE(ParseSubstitutionArray(ArrayOf(wanted), 0, Policy::kComplete, slots, array));
      ASSERT_EQ(array.count, count);
      EXPECT_EQ(array.binary_xml, binary_xml) << count;
      EXPECT_FALSE(array.has_ansi || array.has_lists || array.cut || array.binary_xml_beyond);
      std::uint32_t at = 4 + 4 * count;
      for (std::uint32_t i = 0; i < count; ++i) {
        EXPECT_EQ(slots[i].offset, at);
        EXPECT_EQ(slots[i].size, wanted[i].first);
        EXPECT_EQ(slots[i].type, wanted[i].second);
        at += wanted[i].first;
      }
      EXPECT_EQ(array.end, at);
    }
  }
}

TEST(Substitution, KnowsSingleByteTextsAndListsAtAnyPlace) {
  for (std::size_t at = 0; at < 9; ++at) {
    std::vector<std::pair<std::uint16_t, std::uint8_t>> values(9, {2, kEvtVarTypeUInt16});
    values[at].second = kEvtVarTypeAnsiString;
    SlotList slots;
    SubstitutionArray array;
    ASSERT_TRUE(ParseSubstitutionArray(ArrayOf(values), 0, Policy::kLiteral, slots, array));
    EXPECT_TRUE(array.has_ansi && !array.has_lists) << at;
    values[at].second = kEvtVarTypeMultiWideString;
    ASSERT_TRUE(ParseSubstitutionArray(ArrayOf(values), 0, Policy::kLiteral, slots, array));
    EXPECT_TRUE(!array.has_ansi && array.has_lists) << at;
  }
}

TEST(Substitution, FindsTheArrayBehindAnInlineDefinitionOrBehindTheToken) {
  ByteString chunk(2);
  support::ChunkImage image;
  image.bytes.resize(512);
  support::Fragment fragment;
  fragment.header = false;
  fragment.instance.push_back({.definition = support::MakeTemplate("t", {support::Text("x")})});
  support::WriteFragment(image, fragment);
  const auto second = static_cast<std::uint32_t>(image.bytes.size());
  support::WriteFragment(image, fragment);
  TemplateInstance instance;
  ASSERT_TRUE(LocateInstance(image.bytes, 512, instance));
  EXPECT_EQ(instance.definition, 522U);
  EXPECT_EQ(instance.array, second - 4);
  ASSERT_TRUE(LocateInstance(image.bytes, second, instance));
  EXPECT_EQ(instance.definition, 522U);
  EXPECT_EQ(instance.array, second + 10);
  EXPECT_FALSE(LocateInstance(image.bytes, second + 5, instance));
}

TEST(Substitution, AnInlineDefinitionOfAnySizeKeepsTheArrayBehindIt) {
  ByteString chunk(64);
  support::SetBytes(chunk, 0, support::Hex("0C 01 00000000 0A000000"));
  support::SetU32(chunk, 10 + 20, 0xFFFFFFFF);
  TemplateInstance instance;
  ASSERT_TRUE(LocateInstance(chunk, 0, instance));
  EXPECT_EQ(instance.array, 64U);
  SlotList slots;
  SubstitutionArray array;
  EXPECT_FALSE(ParseSubstitutionArray(chunk, instance.array, Policy::kLiteral, slots, array));
  EXPECT_FALSE(LocateInstance(Bytes(chunk).first(33), 0, instance));
}

TEST(Substitution, TellsInstancesAndElementsApart) {
  std::uint32_t first = 0;
  EXPECT_EQ(LookAtFragment(support::Hex("EE 0F010100 0C"), 1, 5, first), FragmentStart::kInstance);
  EXPECT_EQ(first, 5U);
  EXPECT_EQ(LookAtFragment(support::Hex("0C"), 0, 1, first), FragmentStart::kInstance);
  EXPECT_EQ(LookAtFragment(support::Hex("EC"), 0, 1, first), FragmentStart::kInstance);
  EXPECT_EQ(first, 0U);
  EXPECT_EQ(LookAtFragment(support::Hex("0F010100 41"), 0, 5, first), FragmentStart::kElement);
  EXPECT_EQ(first, 4U);
  EXPECT_EQ(LookAtFragment(support::Hex("01"), 0, 1, first), FragmentStart::kElement);
  EXPECT_EQ(LookAtFragment(support::Hex("0F010100 0C"), 0, 4, first), FragmentStart::kOther);
  EXPECT_EQ(LookAtFragment(support::Hex("05"), 0, 1, first), FragmentStart::kText);
  EXPECT_EQ(LookAtFragment(support::Hex("49"), 0, 1, first), FragmentStart::kText);
  EXPECT_EQ(LookAtFragment(support::Hex("0D"), 0, 1, first), FragmentStart::kOther);
  EXPECT_EQ(LookAtFragment(support::Hex("05"), 0, 0, first), FragmentStart::kOther);
  EXPECT_EQ(LookAtFragment(support::Hex("05"), 1, 4, first), FragmentStart::kOther);
}

}  // namespace
}  // namespace tarnlex
