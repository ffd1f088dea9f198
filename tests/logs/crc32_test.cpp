#include "logs/crc32.h"

#include <gtest/gtest.h>

#include "tests/support/put_bytes.h"

namespace tarnlex {
namespace {

support::ByteString SomeBytes(std::size_t size) {
  support::ByteString bytes(size);
  std::uint32_t state = 1;
  for (std::uint8_t& byte : bytes) {
    state = state * 1'664'525 + 1'013'904'223;
    byte = static_cast<std::uint8_t>(state >> 24);
  }
  return bytes;
}

TEST(Crc32, OfTheDigitsIsTheOneThatEverybodyStates) {
  const std::uint8_t digits[] = {'1', '2', '3', '4', '5', '6', '7', '8', '9'};
  EXPECT_EQ(Crc32(digits), 0xCBF43926U);
  EXPECT_EQ(Crc32({}), 0U);
}

TEST(Crc32, IsThatOfOneByteAtATimeForEveryLength) {
  const support::ByteString bytes = SomeBytes(40);
  for (std::size_t size = 0; size <= bytes.size(); ++size) {
    EXPECT_EQ(Crc32(Bytes(bytes).first(size)), support::Crc32(bytes, {{0, size}})) << size;
  }
}

TEST(Crc32, GoesOnWithWhatStoodBefore) {
  const support::ByteString bytes = SomeBytes(100);
  for (const std::size_t cut : {0U, 1U, 7U, 8U, 33U, 100U}) {
    EXPECT_EQ(Crc32(Bytes(bytes).subspan(cut), Crc32(Bytes(bytes).first(cut))), Crc32(bytes));
  }
}

}  // namespace
}  // namespace tarnlex
