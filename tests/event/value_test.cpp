#include "event/value.h"

#include <gtest/gtest.h>

#include <bit>
#include <cstdint>
#include <cstdio>
#include <initializer_list>
#include <limits>
#include <random>
#include <string>
#include <vector>

#include "tests/support/binary_xml_builder.h"

namespace tarnlex {
namespace {

using support::ByteString;
using support::Value;

// The text of a value whose bytes are followed by `behind` in the chunk.
std::string TextOfValue(const Value& value, const ByteString& behind = {}) {
  ByteString chunk = {0xEE, 0xEE};
  support::PutBytes(chunk, value.bytes);
  support::PutBytes(chunk, behind);
  const auto size = value.stated_size.value_or(static_cast<std::uint16_t>(value.bytes.size()));
  const SubstitutionValue slot{2, size, value.type};
  const std::string text = ValueText(chunk, slot);
  EXPECT_LE(text.size(), MaxValueText(chunk, slot));
  return text;
}

TEST(Value, NullIsZeroAndNotEmpty) { EXPECT_EQ(TextOfValue(support::NullValue()), "0"); }

TEST(Value, StringIsItsUnitsAsUtf8) {
  EXPECT_EQ(TextOfValue(support::StringValue("a\xC3\xA4\xF0\x9F\x98\x80")),
            "a\xC3\xA4\xF0\x9F\x98\x80");
  EXPECT_EQ(TextOfValue(support::StringValue("")), "");
  EXPECT_EQ(TextOfValue(support::RawValue(support::kEvtXml, support::Hex("61006200"))), "ab");
}

TEST(Value, StringDropsZeroUnitsAtItsEndAndBlanksThoseInside) {
  EXPECT_EQ(TextOfValue(support::WideStringValue(std::u16string_view(u"a\0b\0\0", 5))), "a b");
  EXPECT_EQ(TextOfValue(support::WideStringValue(std::u16string_view(u"\0\0", 2))), "");
}

TEST(Value, StringMarksLoneSurrogates) {
  EXPECT_EQ(TextOfValue(support::RawValue(support::kString, support::Hex("00D8 6100 00DC"))),
            "\xEF\xBF\xBD"
            "a\xEF\xBF\xBD");
}

TEST(Value, StringIgnoresAnOddLastByte) {
  EXPECT_EQ(TextOfValue(support::RawValue(support::kString, support::Hex("6100 62"))), "a");
}

TEST(Value, AnsiStringEndsAtItsZeroByteWhateverItsSize) {
  EXPECT_EQ(TextOfValue(support::RawValue(support::kAnsiString, {'a', 0, 'b'})), "a");
  EXPECT_EQ(TextOfValue(support::RawValue(support::kAnsiString, {'a'}), {'b', 'c', 0, 'd'}), "abc");
  EXPECT_EQ(TextOfValue(support::RawValue(support::kAnsiString, {'a'}), {'b'}), "ab");
  EXPECT_EQ(TextOfValue(support::RawValue(support::kAnsiString, {}), {'b'}), "");
  EXPECT_EQ(TextOfValue(support::RawValue(support::kAnsiString, {0xE4, 0})), "\xE4");
}

TEST(Value, BothByteTypesAreUnsigned) {
  EXPECT_EQ(TextOfValue(support::SByteValue(0x80)), "128");
  EXPECT_EQ(TextOfValue(support::SByteValue(0xFF)), "255");
  EXPECT_EQ(TextOfValue(support::ByteValue(0xFF)), "255");
}

TEST(Value, IntegersKeepTheSignednessOfTheirType) {
  EXPECT_EQ(TextOfValue(support::Int16Value(-2)), "-2");
  EXPECT_EQ(TextOfValue(support::UInt16Value(0xFFFE)), "65534");
  EXPECT_EQ(TextOfValue(support::Int32Value(-2)), "-2");
  EXPECT_EQ(TextOfValue(support::UInt32Value(0xFFFFFFFE)), "4294967294");
  EXPECT_EQ(TextOfValue(support::Int64Value(std::numeric_limits<std::int64_t>::min())),
            "-9223372036854775808");
  EXPECT_EQ(TextOfValue(support::UInt64Value(0x7FFFFFFFFFFFFFFF)), "9223372036854775807");
}

TEST(Value, LargeUnsigned64BitNumbersPrintNegative) {
  EXPECT_EQ(TextOfValue(support::UInt64Value(0xFFFFFFFFFFFFFFFF)), "-1");
}

TEST(Value, FloatsHaveSixDecimals) {
  EXPECT_EQ(TextOfValue(support::SingleValue(1.5F)), "1.500000");
  EXPECT_EQ(TextOfValue(support::SingleValue(0.1F)), "0.100000");
  EXPECT_EQ(TextOfValue(support::DoubleValue(-0.0000006)), "-0.000001");
  EXPECT_EQ(TextOfValue(support::DoubleValue(1e9)), "1000000000.000000");
}

TEST(Value, NumberTextsEndWhereThirtyTwoCharactersWithTheirZeroDo) {
  EXPECT_EQ(TextOfValue(support::DoubleValue(1e300)).size(), 31U);
  EXPECT_EQ(TextOfValue(support::DoubleValue(-std::numeric_limits<double>::max())),
            "-179769313486231570814527423731");
}

TEST(Value, BooleanGoesByItsFirstByte) {
  EXPECT_EQ(TextOfValue(support::BooleanValue(true)), "true");
  EXPECT_EQ(TextOfValue(support::RawValue(support::kBoolean, {0, 1, 1, 1})), "false");
  EXPECT_EQ(TextOfValue(support::RawValue(support::kBoolean, {2})), "true");
}

// What the system's own printing gives, cut behind 31 characters.
TEST(Value, HugeNumbersAreCutAndNotRounded) {
  std::mt19937_64 random(11);
  for (int i = 0; i < 20'000; ++i) {
    const std::uint64_t bits = (random() & 0x800FFFFFFFFFFFFF) | (0x3FFULL + random() % 0x400)
                                                                     << 52;
    const double number = std::bit_cast<double>(bits);
    char text[400];
    snprintf(text, sizeof text, "%f", number);
    EXPECT_EQ(TextOfValue(support::DoubleValue(number)), std::string(text).substr(0, 31));
  }
  for (const double number : {1e31, -1e31, 9.999999999999999e30, 1e200, 0x1p1000, 0x1p104}) {
    char text[400];
    snprintf(text, sizeof text, "%f", number);
    EXPECT_EQ(TextOfValue(support::DoubleValue(number)), std::string(text).substr(0, 31));
  }
  constexpr double kInfinity = std::numeric_limits<double>::infinity();
  EXPECT_EQ(TextOfValue(support::DoubleValue(-kInfinity)), "-inf");
}

TEST(Value, BinaryIsUpperCaseHexadecimal) {
  EXPECT_EQ(TextOfValue(support::BinaryValue({0x00, 0xAB, 0x0C})), "00AB0C");
}

TEST(Value, GuidIsLowerCaseWithoutBraces) {
  EXPECT_EQ(TextOfValue(support::GuidValue("54849625-5478-4994-a5ba-3e3b0328c30d")),
            "54849625-5478-4994-a5ba-3e3b0328c30d");
}

TEST(Value, SizeIsItsFirst32Bits) {
  EXPECT_EQ(TextOfValue(support::SizeTValue(0x1FFFFFFFF)), "4294967295");
}

TEST(Value, FileTimeHasItsFixedFullFormat) {
  EXPECT_EQ(TextOfValue(support::FileTimeValue(support::Filetime(2012, 3, 7, 14, 5, 9, 1'234'567))),
            "03/07/2012 14:05:09.123456700");
  EXPECT_EQ(TextOfValue(support::FileTimeValue(0)), "");
  EXPECT_EQ(TextOfValue(support::FileTimeValue(1)), "");
  EXPECT_EQ(TextOfValue(support::FileTimeValue(0x7FFFFFFFFFFFFFFF)), "");
}

TEST(Value, SystemTimeIsEmptyUnlessItIsAnInstant) {
  EXPECT_EQ(TextOfValue(support::SysTimeValue({2012, 3, 3, 7, 14, 5, 9, 7})),
            "03/07/2012 : 14:05:09:07");
  EXPECT_EQ(TextOfValue(support::SysTimeValue({2012, 13, 3, 7, 14, 5, 9, 7})), "");
  EXPECT_EQ(TextOfValue(support::SysTimeValue({0, 0, 0, 0, 0, 0, 0, 0})), "");
}

TEST(Value, SidNamesAuthorityAndSubAuthorities) {
  EXPECT_EQ(TextOfValue(support::SidValue("S-1-5-21-1-4294967295-500")),
            "S-1-5-21-1-4294967295-500");
  EXPECT_EQ(TextOfValue(support::RawValue(support::kSid, support::Hex("01 00 00 00 FF FF FF FF"))),
            "S-1-4294967295");
  EXPECT_EQ(TextOfValue(support::RawValue(support::kSid, support::Hex("01 00 00 01 00 00 00 0A"))),
            "S-1-0x00010000000a");
}

TEST(Value, MalformedSidIsEmpty) {
  EXPECT_EQ(TextOfValue(support::RawValue(support::kSid, support::Hex("01 01 00 00 00 00 00"))),
            "");
  EXPECT_EQ(TextOfValue(support::RawValue(
                support::kSid, support::Hex("01 02 00 00 00 00 00 05 01 00 00 00 02 00 00"))),
            "");
}

TEST(Value, HexNumbersAreZeroFilledAndLowerCase) {
  EXPECT_EQ(TextOfValue(support::HexInt32Value(0x1F)), "0x0000001f");
  EXPECT_EQ(TextOfValue(support::HexInt64Value(0xABCDEF)), "0x0000000000abcdef");
  EXPECT_EQ(TextOfValue(support::RawValue(support::kEvtHandle, support::Hex("1F00000001000000"))),
            "0x0000001f");
}

TEST(Value, MultiStringIsJoinedWithCommas) {
  EXPECT_EQ(TextOfValue(support::StringArrayValue({"a", "b"})), "a, b");
  EXPECT_EQ(TextOfValue(support::RawValue(support::kStringArray, support::Hex("61000000 6200"))),
            "a, b");
}

TEST(Value, TextsAreMeasuredExactlyWithoutBeingMade) {
  for (const support::Value& made :
       {support::StringArrayValue({"", "a", "", "\u00E9\U0001F600", "bcd", ""}),
        support::StringArrayValue({"", ""}), support::StringValue("a\u00E9\u4E00"),
        support::AnsiStringValue("abc"), support::BinaryValue({1, 2, 3})}) {
    const SubstitutionValue value{0, static_cast<std::uint16_t>(made.bytes.size()), made.type};
    EXPECT_EQ(ValueTextBound(made.bytes, value), TextOfValue(made).size()) << int{made.type};
  }
}

TEST(Value, MultiStringDropsEmptyStringsAtItsEndOnly) {
  EXPECT_EQ(TextOfValue(support::StringArrayValue({"a", ""})), "a");
  EXPECT_EQ(TextOfValue(support::StringArrayValue({"", "a", "", "b", "", ""})), ", a, , b");
  EXPECT_EQ(TextOfValue(support::StringArrayValue({"", ""})), "");
  EXPECT_EQ(TextOfValue(support::StringArrayValue({})), "");
}

TEST(Value, TypesThatAreOnlyNamedAreEmpty) {
  EXPECT_EQ(TextOfValue(support::HexInt32ArrayValue({1, 2})), "");
  EXPECT_EQ(TextOfValue(support::HexInt64ArrayValue({1})), "");
  const ByteString bytes(16, 0x41);
  for (unsigned type = 0; type < 256; ++type) {
    const bool has_text = type <= 0x15 || type == 0x20 || type == 0x23 || type == 0x81;
    if (has_text) continue;
    EXPECT_EQ(TextOfValue(support::RawValue(static_cast<std::uint8_t>(type), bytes)), "") << type;
  }
}

TEST(Value, ASizeBelowThatOfTheTypeGivesAnEmptyText) {
  const std::pair<std::uint8_t, std::size_t> sizes[] = {
      {support::kSByte, 1},    {support::kByte, 1},     {support::kInt16, 2},
      {support::kUInt16, 2},   {support::kInt32, 4},    {support::kUInt32, 4},
      {support::kInt64, 8},    {support::kUInt64, 8},   {support::kSingle, 4},
      {support::kDouble, 8},   {support::kBoolean, 1},  {support::kGuid, 16},
      {support::kSizeT, 4},    {support::kFileTime, 8}, {support::kSysTime, 16},
      {support::kSid, 8},      {support::kHexInt32, 4}, {support::kHexInt64, 8},
      {support::kEvtHandle, 4}};
  for (const auto& [type, size] : sizes) {
    const Value value = support::RawValue(type, ByteString(size - 1, 1));
    EXPECT_EQ(TextOfValue(value, ByteString(16, 1)), "") << unsigned{type};
  }
}

TEST(Value, AnythingOutsideTheChunkGivesAnEmptyText) {
  const ByteString chunk(64, 0x31);
  for (unsigned type = 1; type < 256; ++type) {
    const auto code = static_cast<std::uint8_t>(type);
    EXPECT_EQ(ValueText(chunk, {65, 16, code}), "") << type;
    if (type != support::kAnsiString) {
      EXPECT_EQ(ValueText(chunk, {56, 16, code}), "") << type;
    }
  }
}

TEST(Value, TypesHaveNames) {
  EXPECT_EQ(TypeName(0x00), "EvtVarTypeNull");
  EXPECT_EQ(TypeName(0x13), "EvtVarTypeSid");
  EXPECT_EQ(TypeName(0x21), "EvtVarTypeEvtBXml");
  EXPECT_EQ(TypeName(0x81), "EvtVarTypeMultiWideString");
  EXPECT_EQ(TypeName(0x95), "EvtVarTypeArrayHexInt64");
  EXPECT_EQ(TypeName(0x16), "unknown type");
}

TEST(IsFreeText, NoOtherTextHoldsASeparatorOrALineBreak) {
  // Every type over bytes of every kind.
  for (int seed = 0; seed < 64; ++seed) {
    std::vector<std::uint8_t> chunk(64);
    for (std::size_t i = 0; i < chunk.size(); ++i) {
      chunk[i] = static_cast<std::uint8_t>(static_cast<int>(i) * (2 * seed + 1) + 37 * seed);
    }
    for (int type = 0; type < 256; ++type) {
      const auto code = static_cast<std::uint8_t>(type);
      if (IsFreeText(code)) continue;
      for (const std::uint16_t size :
           std::initializer_list<std::uint16_t>{1, 2, 4, 8, 12, 16, 28}) {
        const std::string text = ValueText(chunk, {4, size, code});
        EXPECT_EQ(text.find_first_of(",|\r\n"), std::string::npos) << type << ' ' << text;
      }
    }
  }
}

}  // namespace
}  // namespace tarnlex
