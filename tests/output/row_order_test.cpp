#include "output/row_order.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <numeric>
#include <random>
#include <utility>

#include "output/row_builder.h"

namespace tarnlex {
namespace {

void AddRowAt(EventRows& rows, std::uint64_t time, std::uint64_t id) {
  EventRecord record;
  record.timeCreated = time;
  record.eventRecordId = id;
  AddRow(rows, record, {});
}

// As the rows of a plain sort come.
RowNumbers Sorted(const EventRows& rows) {
  RowNumbers sorted(rows.rows.size());
  std::iota(sorted.begin(), sorted.end(), 0U);
  std::stable_sort(sorted.begin(), sorted.end(), [&rows](std::uint32_t a, std::uint32_t b) {
    const EventRecord& one = rows.rows[a];
    const EventRecord& other = rows.rows[b];
    return std::pair(one.timeCreated, one.eventRecordId) <
           std::pair(other.timeCreated, other.eventRecordId);
  });
  return sorted;
}

TEST(OrderRows, GoesByTimeThenRecordThenArrival) {
  EventRows rows;
  AddRowAt(rows, 20, 1);
  AddRowAt(rows, 10, 9);
  AddRowAt(rows, 10, 3);
  AddRowAt(rows, 10, 3);
  EXPECT_EQ(OrderRows(rows), (RowNumbers{2, 3, 1, 0}));
}

TEST(OrderRows, LeavesNoRowOutWhateverTheArrival) {
  EXPECT_TRUE(OrderRows(EventRows{}).empty());
  for (std::size_t most_runs = 1; most_runs <= 7; ++most_runs) {
    EventRows rows;
    for (std::uint64_t run = 1; run <= most_runs; ++run) {
      for (std::uint64_t i = 0; i < run; ++i) AddRowAt(rows, 100 - 10 * run + i % 3, run);
    }
    EXPECT_EQ(OrderRows(rows), Sorted(rows)) << most_runs << " runs";
  }
}

TEST(OrderRows, OrdersRowsThatAreInNoOrderAtAll) {
  std::mt19937 random(20);  // NOLINT(cert-msc32-c,cert-msc51-cpp): the same rows in every run
  EventRows rows;
  for (int i = 0; i < 5000; ++i) AddRowAt(rows, random() % 700, random() % 5);
  EXPECT_EQ(OrderRows(rows), Sorted(rows));
}

}  // namespace
}  // namespace tarnlex
