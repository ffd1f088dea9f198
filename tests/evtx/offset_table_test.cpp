#include "evtx/offset_table.h"

#include <gtest/gtest.h>

#include <map>

namespace tarnlex {
namespace {

TEST(OffsetTable, HoldsWhatAMapWouldHold) {
  OffsetTable<std::uint32_t> table;
  std::map<std::uint32_t, std::uint32_t> map;
  // Neighbours, offsets far apart, and each a second time.
  for (std::uint32_t i = 0; i < 3000; ++i) {
    const std::uint32_t offset = i % 3 == 0 ? i / 6 : i * 2'654'435 % 70'000;
    Add(table, offset, i);
    map.emplace(offset, i);
  }
  EXPECT_EQ(table.used, map.size());
  for (std::uint32_t offset = 0; offset < 70'000; ++offset) {
    const std::uint32_t* const found = Find(table, offset);
    const auto known = map.find(offset);
    ASSERT_EQ(found != nullptr, known != map.end()) << offset;
    ASSERT_EQ(found ? *found : 0, known == map.end() ? 0 : known->second) << offset;
  }
}

TEST(OffsetTable, IsEmptyAfterItWasCleared) {
  OffsetTable<std::uint32_t> table;
  for (std::uint32_t i = 0; i < 1000; ++i) Add(table, i, i);
  Clear(table);
  EXPECT_EQ(table.used, 0U);
  EXPECT_EQ(Find(table, 7), nullptr);
  Add(table, 7, 1U);
  EXPECT_EQ(*Find(table, 7), 1U);
}

}  // namespace
}  // namespace tarnlex
