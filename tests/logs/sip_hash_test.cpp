#include "logs/sip_hash.h"

#include <gtest/gtest.h>

#include <string>
#include <utility>

#include "tests/support/put_bytes.h"

namespace tarnlex {
namespace {

using support::ByteString;

// The key and the texts of the vectors that come with the published algorithm.
constexpr HashKey kPublishedKey{0x0706050403020100, 0x0F0E0D0C0B0A0908};

ByteString Counting(std::size_t size) {
  ByteString bytes;
  for (std::size_t i = 0; i < size; ++i) bytes.push_back(static_cast<std::uint8_t>(i));
  return bytes;
}

std::string TextOf(Hash128 hash) {
  ByteString bytes;
  support::PutU64(bytes, hash.low);
  support::PutU64(bytes, hash.high);
  return support::ToHex(bytes);
}

TEST(SipHash, HashesAsPublished) {
  const std::pair<std::size_t, const char*> kPublished[] = {
      {0, "a3817f04ba25a8e66df67214c7550293"},  {1, "da87c1d86b99af44347659119b22fc45"},
      {2, "8177228da4a45dc7fca38bdef60affe4"},  {7, "a1f1ebbed8dbc153c0b84aa61ff08239"},
      {8, "3b62a9ba6258f5610f83e264f31497b4"},  {9, "264499060ad9baabc47f8b02bb6d71ed"},
      {15, "5493e99933b0a8117e08ec0f97cfc3d9"}, {16, "6ee2a4ca67b054bbfd3315bf85230577"},
      {63, "5150d1772f50834a503e069a973fbd7c"},
  };
  for (const auto& [size, hash] : kPublished) {
    EXPECT_EQ(TextOf(HashBytes(kPublishedKey, Counting(size))), hash) << size;
  }
}

TEST(SipHash, DoesNotDependOnThePiecesThatBytesComeIn) {
  const ByteString bytes = Counting(40);
  const Hash128 whole = HashBytes(kPublishedKey, bytes);
  for (std::size_t first = 0; first <= bytes.size(); ++first) {
    for (std::size_t second = first; second <= bytes.size(); ++second) {
      SipHash hash = BeginSipHash(kPublishedKey);
      AddBytes(hash, Bytes(bytes).first(first));
      AddBytes(hash, Bytes(bytes).subspan(first, second - first));
      AddBytes(hash, Bytes(bytes).subspan(second));
      ASSERT_EQ(EndSipHash(hash), whole) << first << " " << second;
    }
  }
}

TEST(SipHash, DependsOnTheKey) {
  const ByteString bytes = Counting(40);
  EXPECT_NE(HashBytes({0, 0}, bytes), HashBytes({1, 0}, bytes));
  EXPECT_NE(HashBytes({0, 0}, bytes), HashBytes({0, 1}, bytes));
  const HashKey key = RandomHashKey();
  const HashKey other = RandomHashKey();
  EXPECT_FALSE(key.low == other.low && key.high == other.high);
}

}  // namespace
}  // namespace tarnlex
