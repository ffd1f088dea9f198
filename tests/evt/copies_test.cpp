#include "evt/copies.h"

#include <gtest/gtest.h>

#include "tests/support/put_bytes.h"

namespace tarnlex {
namespace {

using support::ByteString;

// Records of `size` bytes that differ in one number, one behind the other.
ByteString Records(std::uint32_t count, std::size_t size, std::size_t number_at) {
  ByteString bytes(count * size, 0x11);
  for (std::uint32_t i = 0; i < count; ++i) support::SetU32(bytes, i * size + number_at, i);
  return bytes;
}

bool Ask(EvtCopies& copies, Bytes log, std::uint64_t offset, std::size_t size) {
  return IsCopy(copies, WholeEvtLog(log), offset, log.subspan(offset, size));
}

TEST(EvtCopies, FindsEveryCopyAmongManyRecords) {
  constexpr std::uint32_t kCount = 50'000;
  constexpr std::size_t kSize = 64;
  ByteString log = Records(kCount, kSize, 8);
  const ByteString again = log;
  support::PutBytes(log, again);
  EvtCopies copies;
  for (std::uint32_t i = 0; i < kCount; ++i) ASSERT_FALSE(Ask(copies, log, i * kSize, kSize)) << i;
  EXPECT_EQ(copies.not_kept, 0U);
  for (std::uint32_t i = kCount; i < 2 * kCount; ++i) {
    ASSERT_TRUE(Ask(copies, log, i * kSize, kSize)) << i;
  }
}

TEST(EvtCopies, TellsRecordsApartByAllOfTheirBytes) {
  const ByteString log = Records(3, 100, 96);
  EvtCopies copies;
  for (std::size_t i = 0; i < 3; ++i) EXPECT_FALSE(Ask(copies, log, i * 100, 100));
  for (std::size_t i = 0; i < 3; ++i) EXPECT_TRUE(Ask(copies, log, i * 100, 100));
}

// They differ where they are not found by: only some are kept and compared, and none is lost.
TEST(EvtCopies, GivesUpOnCraftedRecordsWithoutTakingThemForCopies) {
  constexpr std::uint32_t kCount = 5'000;
  const ByteString log = Records(kCount, 64, 60);
  EvtCopies copies;
  for (std::uint32_t i = 0; i < kCount; ++i) ASSERT_FALSE(Ask(copies, log, i * 64, 64)) << i;
  EXPECT_GT(copies.not_kept, 4'000U);
}

}  // namespace
}  // namespace tarnlex
