#include "event/complete_value.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <limits>
#include <random>
#include <string>
#include <vector>

#include "logs/text.h"
#include "tests/support/binary_xml_builder.h"
#include "tests/support/utf8.h"

namespace tarnlex {
namespace {

using support::ByteString;
using support::Hex;
using support::RawValue;
using support::Value;

// The text of a value that foreign bytes stand around; held to all that any text promises.
std::string TextOfBytes(std::uint8_t type, const ByteString& bytes) {
  ByteString chunk = {0xEE, 0xEE};
  support::PutBytes(chunk, bytes);
  support::PutBytes(chunk, {0xEE, 0xEE});
  const SubstitutionValue slot{2, static_cast<std::uint16_t>(bytes.size()), type};
  const std::size_t room = kMaxNumberRoom + kCompleteTextPerByte * bytes.size();
  std::string text(room, '\0');
  const char* const end = WriteCompleteText(chunk, slot, text.data());
  EXPECT_LE(end, text.data() + room) << int{type};
  text.resize(static_cast<std::size_t>(end - text.data()));
  EXPECT_TRUE(support::IsUtf8(text)) << int{type} << " " << text;
  const auto is_plain = [](char c) {
    return (c >= '0' && c <= '9') || (LowerAscii(c) >= 'a' && LowerAscii(c) <= 'z') || c == ' ' ||
           c == '-' || c == '.' || c == '/' || c == ':';
  };
  if (!IsFreeCompleteText(type)) {
    EXPECT_TRUE(std::all_of(text.begin(), text.end(), is_plain)) << int{type} << " " << text;
  }
  return text;
}

std::string TextOfValue(const Value& value) { return TextOfBytes(value.type, value.bytes); }

// The values' bytes, one behind the other, as an array of their type.
std::string TextOfArray(const std::vector<Value>& values) {
  ByteString bytes;
  for (const Value& value : values) support::PutBytes(bytes, value.bytes);
  return TextOfBytes(static_cast<std::uint8_t>(values.at(0).type | 0x80), bytes);
}

TEST(CompleteValue, TextsAndBytesAreAsEver) {
  EXPECT_EQ(TextOfValue(support::StringValue("a\xC3\xA4")), "a\xC3\xA4");
  EXPECT_EQ(TextOfValue(support::StringValue("")), "");
  EXPECT_EQ(TextOfValue(RawValue(support::kString, {0x61})), "");
  EXPECT_EQ(TextOfValue(RawValue(support::kEvtXml, Hex("3C00 6100"))), "<a");
  EXPECT_EQ(TextOfValue(support::BinaryValue({0xAB, 0x01})), "AB01");
  EXPECT_EQ(TextOfValue(support::StringArrayValue({"a", "b"})), "a, b");
}

TEST(CompleteValue, NullIsNothing) {
  EXPECT_EQ(TextOfValue(support::NullValue()), "");
  EXPECT_EQ(TextOfValue(RawValue(support::kNull, {1, 2})), "");
}

TEST(CompleteValue, SingleByteTextStaysWithinItsSize) {
  EXPECT_EQ(TextOfValue(support::AnsiStringValue("abc")), "abc");
  EXPECT_EQ(TextOfValue(RawValue(support::kAnsiString, {'a', 'b'})), "ab");
  EXPECT_EQ(TextOfValue(RawValue(support::kAnsiString, {'a', 0, 'b', 0, 0})), "a b");
  EXPECT_EQ(TextOfValue(RawValue(support::kAnsiString, {0xE4, 0x80})), "\xC3\xA4\xE2\x82\xAC");
}

TEST(CompleteValue, NumbersKeepTheirSign) {
  EXPECT_EQ(TextOfValue(support::SByteValue(0x80)), "-128");
  EXPECT_EQ(TextOfValue(support::SByteValue(0x7F)), "127");
  EXPECT_EQ(TextOfValue(support::ByteValue(0xFF)), "255");
  EXPECT_EQ(TextOfValue(support::Int16Value(-2)), "-2");
  EXPECT_EQ(TextOfValue(support::UInt16Value(0xFFFE)), "65534");
  EXPECT_EQ(TextOfValue(support::Int32Value(-2)), "-2");
  EXPECT_EQ(TextOfValue(support::UInt32Value(0xFFFFFFFF)), "4294967295");
  EXPECT_EQ(TextOfValue(support::Int64Value(std::numeric_limits<std::int64_t>::min())),
            "-9223372036854775808");
  EXPECT_EQ(TextOfValue(support::UInt64Value(0x8000000000000000)), "9223372036854775808");
  EXPECT_EQ(TextOfValue(support::UInt64Value(0xFFFFFFFFFFFFFFFF)), "18446744073709551615");
  EXPECT_EQ(TextOfValue(support::HexInt32Value(0x1F)), "0x0000001f");
  EXPECT_EQ(TextOfValue(support::HexInt64Value(0x1F)), "0x000000000000001f");
}

TEST(CompleteValue, PointersAreAsWideAsTheirSystem) {
  EXPECT_EQ(TextOfValue(RawValue(support::kSizeT, Hex("FFFFFFFF"))), "4294967295");
  EXPECT_EQ(TextOfValue(RawValue(support::kSizeT, Hex("0000000001000000"))), "4294967296");
  EXPECT_EQ(TextOfValue(RawValue(support::kEvtHandle, Hex("1F000000"))), "0x0000001f");
  EXPECT_EQ(TextOfValue(RawValue(support::kEvtHandle, Hex("1F00000001000000"))),
            "0x000000010000001f");
  EXPECT_EQ(TextOfValue(RawValue(support::kSizeT, {1, 2, 3})), "010203");
}

TEST(CompleteValue, FloatsReadBackAsTheSameNumber) {
  EXPECT_EQ(TextOfValue(support::SingleValue(1.5F)), "1.5");
  EXPECT_EQ(TextOfValue(support::DoubleValue(0.1)), "0.1");
  EXPECT_EQ(TextOfValue(support::DoubleValue(1e-7)), "1e-07");
  EXPECT_EQ(TextOfValue(support::DoubleValue(-std::numeric_limits<double>::infinity())), "-inf");
  EXPECT_EQ(TextOfValue(support::DoubleValue(std::nan(""))), "nan");
  for (const double number : {1.0 / 3, 1.7976931348623157e308, -5e-324, 123456789012345678.0}) {
    EXPECT_EQ(std::strtod(TextOfValue(support::DoubleValue(number)).c_str(), nullptr), number);
  }
}

TEST(CompleteValue, BooleansAreTrueByAnyOfTheirBytes) {
  EXPECT_EQ(TextOfValue(support::BooleanValue(true)), "true");
  EXPECT_EQ(TextOfValue(support::BooleanValue(false)), "false");
  EXPECT_EQ(TextOfValue(RawValue(support::kBoolean, {0, 1, 0, 0})), "true");
  EXPECT_EQ(TextOfValue(RawValue(support::kBoolean, {1})), "true");
  EXPECT_EQ(TextOfValue(RawValue(support::kBoolean, {0, 0, 0, 0, 1})), "true");
  EXPECT_EQ(TextOfValue(RawValue(support::kBoolean, {})), "");
}

TEST(CompleteValue, TimesKeepTheirCentury) {
  EXPECT_EQ(TextOfValue(support::FileTimeValue(0)), "01/01/1601 00:00:00.000000000");
  EXPECT_EQ(TextOfValue(support::FileTimeValue(support::Filetime(2016, 7, 8, 18, 12, 52))),
            "07/08/2016 18:12:52.000000000");
  EXPECT_EQ(TextOfValue(support::FileTimeValue(116'444'736'000'000'000 - 1)),
            "12/31/1969 23:59:59.999999900");
  EXPECT_EQ(TextOfValue(support::FileTimeValue(0x7FFFFFFFFFFFFFFF)),
            "09/14/30828 02:48:05.477580700");
  EXPECT_EQ(TextOfValue(support::FileTimeValue(0xFFFFFFFFFFFFFFFF)), "FFFFFFFFFFFFFFFF");
}

TEST(CompleteValue, CalendarTimesThatAreNoneAreTheirBytes) {
  EXPECT_EQ(TextOfValue(support::SysTimeValue({2016, 7, 5, 8, 18, 12, 52, 7})),
            "07/08/2016 : 18:12:52:07");
  EXPECT_EQ(TextOfValue(support::SysTimeValue({0, 0, 0, 0, 0, 0, 0, 0})),
            "00000000000000000000000000000000");
}

TEST(CompleteValue, IdentifiersOfOtherRevisionsAreToldToo) {
  EXPECT_EQ(TextOfValue(support::SidValue("S-1-5-18")), "S-1-5-18");
  EXPECT_EQ(TextOfBytes(support::kSid, Hex("02 01 000000000005 12000000")), "S-2-5-18");
  EXPECT_EQ(TextOfBytes(support::kSid, Hex("01 02 000000000005 12000000")),
            "010200000000000512000000");
  EXPECT_EQ(TextOfBytes(support::kSid, Hex("01 02")), "0102");
}

TEST(CompleteValue, WhatIsTooShortForItsTypeIsItsBytes) {
  EXPECT_EQ(TextOfBytes(support::kUInt16, {0x0A}), "0A");
  EXPECT_EQ(TextOfBytes(support::kUInt64, {1, 2, 3, 4}), "01020304");
  EXPECT_EQ(TextOfBytes(support::kDouble, {1, 2, 3}), "010203");
  EXPECT_EQ(TextOfBytes(support::kGuid, {1, 2}), "0102");
  EXPECT_EQ(TextOfBytes(support::kFileTime, {1, 2}), "0102");
  EXPECT_EQ(TextOfBytes(support::kHexInt64, {1, 2, 3, 4}), "01020304");
}

TEST(CompleteValue, TypesThatAreNotKnownAreTheirBytes) {
  for (const int type : {0x16, 0x1F, 0x22, 0x24, 0x7F, 0x96, 0x9F, 0xA2, 0xFF}) {
    EXPECT_EQ(TextOfBytes(static_cast<std::uint8_t>(type), {0xAB, 0xCD}), "ABCD") << type;
  }
}

TEST(CompleteValue, ArraysOfEveryTypeAreLists) {
  EXPECT_EQ(TextOfArray({support::SByteValue(-1), support::SByteValue(2)}), "-1, 2");
  EXPECT_EQ(TextOfArray({support::ByteValue(255), support::ByteValue(2)}), "255, 2");
  EXPECT_EQ(TextOfArray({support::Int16Value(-1), support::Int16Value(2)}), "-1, 2");
  EXPECT_EQ(TextOfArray({support::UInt16Value(65535), support::UInt16Value(2)}), "65535, 2");
  EXPECT_EQ(TextOfArray({support::Int32Value(-1), support::Int32Value(2)}), "-1, 2");
  EXPECT_EQ(TextOfArray({support::UInt32Value(1), support::UInt32Value(2)}), "1, 2");
  EXPECT_EQ(TextOfArray({support::Int64Value(-1), support::Int64Value(2)}), "-1, 2");
  EXPECT_EQ(TextOfArray({support::UInt64Value(~std::uint64_t{0}), support::UInt64Value(2)}),
            "18446744073709551615, 2");
  EXPECT_EQ(TextOfArray({support::SingleValue(1.5F), support::SingleValue(2)}), "1.5, 2");
  EXPECT_EQ(TextOfArray({support::DoubleValue(1.5), support::DoubleValue(2)}), "1.5, 2");
  EXPECT_EQ(TextOfArray({support::BooleanValue(true), support::BooleanValue(false)}),
            "true, false");
  EXPECT_EQ(TextOfArray({support::BinaryValue({1, 2}), support::BinaryValue({3})}), "010203");
  EXPECT_EQ(TextOfArray({support::GuidValue("54849625-5478-4994-a5ba-3e3b0328c30d"),
                         support::GuidValue("00000000-0000-0000-0000-000000000001")}),
            "54849625-5478-4994-a5ba-3e3b0328c30d, 00000000-0000-0000-0000-000000000001");
  EXPECT_EQ(TextOfArray({support::FileTimeValue(0), support::FileTimeValue(10'000'000)}),
            "01/01/1601 00:00:00.000000000, 01/01/1601 00:00:01.000000000");
  EXPECT_EQ(TextOfArray({support::SysTimeValue({2016, 7, 5, 8, 18, 12, 52, 123}),
                         support::SysTimeValue({2017, 1, 0, 2, 3, 4, 5, 6})}),
            "07/08/2016 : 18:12:52:123, 01/02/2017 : 03:04:05:06");
  EXPECT_EQ(TextOfArray({support::SidValue("S-1-5-18"), support::SidValue("S-1-5-21-1-2-3-500"),
                         support::SidValue("S-1-1-0")}),
            "S-1-5-18, S-1-5-21-1-2-3-500, S-1-1-0");
  EXPECT_EQ(TextOfArray({support::HexInt32Value(1), support::HexInt32Value(2)}),
            "0x00000001, 0x00000002");
  EXPECT_EQ(TextOfArray({support::HexInt64Value(1), support::HexInt64Value(2)}),
            "0x0000000000000001, 0x0000000000000002");
}

TEST(CompleteValue, ArraysOfSingleByteTextsAreSplitAtTheirZeros) {
  const std::uint8_t type = support::kAnsiString | 0x80;
  EXPECT_EQ(TextOfBytes(type, {'a', 'b', 0, 0xE4, 0}), "ab, \xC3\xA4");
  EXPECT_EQ(TextOfBytes(type, {'a', 0, 0, 'b'}), "a, , b");
  EXPECT_EQ(TextOfBytes(type, {0, 0, 0}), "");
}

TEST(CompleteValue, ArraysOfPointersHaveOneWidth) {
  const std::uint8_t type = support::kSizeT | 0x80;
  EXPECT_EQ(TextOfBytes(type, Hex("0100000000000000 0200000000000000")), "1, 2");
  EXPECT_EQ(TextOfBytes(type, Hex("01000000 02000000 03000000")), "1, 2, 3");
  EXPECT_EQ(TextOfBytes(support::kEvtHandle | 0x80, Hex("01000000 02000000 03000000")),
            "0x00000001, 0x00000002, 0x00000003");
}

TEST(CompleteValue, WhatAnArrayHasBehindItsLastElementIsGivenAsBytes) {
  EXPECT_EQ(TextOfBytes(support::kUInt16 | 0x80, {1, 0, 0xAB}), "1, AB");
  EXPECT_EQ(TextOfBytes(support::kSizeT | 0x80, {1, 0, 0, 0, 0xAB, 0xCD}), "1, ABCD");
  EXPECT_EQ(TextOfBytes(support::kSizeT | 0x80, {0xAB}), "AB");
  EXPECT_EQ(TextOfBytes(support::kEvtHandle | 0x80, {0xAB, 1, 2}), "AB0102");
  EXPECT_EQ(TextOfBytes(support::kSid | 0x80, Hex("0101 000000000005 12000000 01FF00")),
            "S-1-5-18, 01FF00");
}

TEST(CompleteValue, AValueThatDoesNotLieInItsBytesIsNothing) {
  const ByteString chunk = {1, 2, 3, 4};
  for (int type = 0; type <= 0xFF; ++type) {
    char text[kMaxNumberRoom + kCompleteTextPerByte * 8];
    EXPECT_EQ(WriteCompleteText(chunk, {1, 4, static_cast<std::uint8_t>(type)}, text), text)
        << type;
    EXPECT_EQ(WriteCompleteText(chunk, {0xFFFFFFFF, 1, static_cast<std::uint8_t>(type)}, text),
              text)
        << type;
  }
}

// Every type and array type at every small size and at some large ones, over the dearest bytes of
// every kind and over random ones.
TEST(CompleteValue, IsNeverLongerThanItsBoundAndAlwaysUtf8) {
  std::mt19937 random(7);
  std::vector<std::size_t> sizes = {1000, 65'535};
  for (std::size_t size = 0; size <= 40; ++size) sizes.push_back(size);
  for (int type = 0; type <= 0xFF; ++type) {
    for (const std::size_t size : sizes) {
      for (const int filled : {0x00, 0x01, 0x80, 0xFF, -1}) {
        if (size == 65'535 && filled >= 0 && type % 8 != filled % 8) continue;
        ByteString bytes(size, static_cast<std::uint8_t>(filled));
        if (filled < 0) {
          for (std::uint8_t& byte : bytes) byte = static_cast<std::uint8_t>(random());
        }
        const std::string text = TextOfBytes(static_cast<std::uint8_t>(type), bytes);
        const bool has_text = type != support::kNull && (type & 0x7F) != support::kEvtXml;
        if (size > 1 && filled == 0x80 && has_text) {
          EXPECT_NE(text, "") << type << " " << size;
        }
      }
    }
  }
}

}  // namespace
}  // namespace tarnlex
