#include "evtx/sound_value.h"

#include <gtest/gtest.h>

#include "evtx/name_hash.h"
#include "tests/support/binary_xml_builder.h"
#include "tests/support/put_bytes.h"

namespace tarnlex {
namespace {

using support::ByteString;
using support::Value;

ByteString Units(std::u16string_view text) {
  ByteString bytes;
  support::PutWide(bytes, text);
  return bytes;
}

bool IsSound(const Value& value) {
  return IsSoundValue(value.bytes, {0, static_cast<std::uint32_t>(value.bytes.size()), value.type});
}

TEST(SoundValue, TakesValuesOfEveryType) {
  for (const Value& value : {support::NullValue(),
                             support::StringValue("a"),
                             support::AnsiStringValue("a"),
                             support::SByteValue(-1),
                             support::ByteValue(1),
                             support::Int16Value(-1),
                             support::UInt16Value(1),
                             support::Int32Value(-1),
                             support::UInt32Value(1),
                             support::Int64Value(-1),
                             support::UInt64Value(1),
                             support::SingleValue(1),
                             support::DoubleValue(1),
                             support::BooleanValue(true),
                             support::BinaryValue({0, 1, 2}),
                             support::GuidValue("54849625-5478-4994-a5ba-3e3b0328c30d"),
                             support::SizeTValue(1),
                             support::FileTimeValue(1),
                             support::SysTimeValue({2020, 1, 1, 1, 1, 1, 1, 1}),
                             support::SidValue("S-1-5-21-1-2-3-500"),
                             support::HexInt32Value(1),
                             support::HexInt64Value(1),
                             support::StringArrayValue({"a", "b"}),
                             support::HexInt32ArrayValue({1, 2}),
                             support::HexInt64ArrayValue({1, 2})}) {
    EXPECT_TRUE(IsSound(value)) << int{value.type};
  }
}

TEST(SoundValue, RefusesSizesAndBytesThatNoValueOfTheTypeHas) {
  for (const std::uint8_t type :
       {support::kByte, support::kInt16, support::kUInt32, support::kUInt64, support::kDouble,
        support::kBoolean, support::kGuid, support::kSizeT, support::kFileTime, support::kSysTime,
        support::kSid, support::kHexInt32, support::kHexInt64, support::kHexInt32Array}) {
    EXPECT_FALSE(IsSound(support::RawValue(type, ByteString(3)))) << int{type};
  }
  EXPECT_FALSE(IsSound(support::RawValue(support::kString, {0x41, 0, 0x42})));
  EXPECT_FALSE(IsSound(support::RawValue(support::kString, {0, 0, 0x42, 0})));
  EXPECT_FALSE(IsSound(support::RawValue(support::kAnsiString, {0x41, 0x02, 0x42})));
  EXPECT_FALSE(IsSound(support::RawValue(support::kStringArray, {0x01, 0, 0, 0})));
  EXPECT_FALSE(IsSound(support::RawValue(0x7E, ByteString(4))));
  ByteString sid = support::SidBytes("S-1-5-21-1-2-3-500");
  sid[1] = 9;
  EXPECT_FALSE(IsSound(support::RawValue(support::kSid, sid)));
}

TEST(NameHash, IsWhatIsStoredBesideNames) {
  // As it stands in front of these names in any log.
  EXPECT_EQ(NameHash(Units(u"Event")), 0x0CBA);
  EXPECT_EQ(NameHash(Units(u"System")), 0x546F);
  EXPECT_EQ(NameHash(Units(u"EventData")), 0x8244);
  EXPECT_EQ(NameHash(Units(u"Computer")), 0x6E3B);
}

TEST(NameHash, OfNothingIsThatOfZeros) { EXPECT_EQ(NameHash({}), 0); }

}  // namespace
}  // namespace tarnlex
