#include "reports/event_marks.h"

#include <gtest/gtest.h>

#include <map>
#include <random>
#include <set>
#include <utility>

namespace tarnlex {
namespace {

using Pair = std::pair<std::uint64_t, std::uint64_t>;

// What the marks are not a part of.
Pair KeyOf(const Hash128& event) { return {event.low & ~kAllMarks, event.high}; }

TEST(EventMarks, AgreeWithAMapOverRandomEvents) {
  std::mt19937_64 random(5);
  MarkedEvents events;
  std::map<Pair, unsigned> known;
  for (int i = 0; i < 300'000; ++i) {
    // Few enough to come again, close enough to meet in one place.
    const Hash128 event{(random() % 8) << 4 | (random() & kAllMarks),
                        (random() % 64) << 58 | random() % 1000};
    const auto marks = static_cast<std::uint8_t>(1 + random() % 15);
    const auto unless = static_cast<std::uint8_t>(random() & kAllMarks);
    unsigned& of_event = known[KeyOf(event)];
    const bool expected = (of_event & unless) == 0;
    if (expected) of_event |= marks;
    ASSERT_EQ(AddMarks(events, event, marks, unless), expected);
    ASSERT_EQ(events.count, known.size());
  }
  EXPECT_EQ(events.not_kept, 0U);
  EXPECT_FALSE(events.full);
}

TEST(EventMarks, TakeSixteenBytesAnEventInTablesHalfFullAtLeast) {
  std::mt19937_64 random(7);
  MarkedEvents events;
  for (int i = 0; i < 200'000; ++i) AddMarks(events, {random(), random()}, kGiven, kGiven);
  EXPECT_EQ(events.count, 200'000U);
  EXPECT_GE(events.bytes, 200'000U * 16 * 4 / 3);
  EXPECT_LE(events.bytes, 200'000U * 16 * 3);
}

TEST(EventMarks, LetEventsPassThatThereIsNoMemoryFor) {
  std::mt19937_64 random(9);
  MarkedEvents events;
  events.most_bytes = 64 * 1024;
  std::set<Pair> kept;
  int passed = 0;
  for (int i = 0; i < 20'000; ++i) {
    const Hash128 event{random(), random()};
    const std::uint64_t not_kept = events.not_kept;
    passed += AddMarks(events, event, kGiven, kGiven);
    if (events.not_kept > not_kept) {
      EXPECT_TRUE(AddMarks(events, event, kGiven, kGiven));
    } else {
      kept.insert(KeyOf(event));
    }
  }
  EXPECT_EQ(passed, 20'000);
  EXPECT_TRUE(events.full);
  EXPECT_EQ(events.count, kept.size());
  EXPECT_LE(events.bytes, events.most_bytes);
  EXPECT_GT(kept.size(), 64 * 1024 / 16 / 2U);
  // Those that have a place are told apart as before.
  for (const auto& [low, high] : kept) EXPECT_FALSE(AddMarks(events, {low, high}, kGiven, kGiven));
}

TEST(EventMarks, StandForThemselves) {
  MarkedEvents events;
  const Hash128 event{16, 1};
  EXPECT_TRUE(AddMarks(events, event, kGivenLive, 0));
  EXPECT_TRUE(AddMarks(events, event, kCounted, kCounted));
  EXPECT_FALSE(AddMarks(events, event, kGiven, kGiven | kGivenLive));
  EXPECT_TRUE(AddMarks(events, event, kGiven, kGiven));
  EXPECT_FALSE(AddMarks(events, event, kGiven, kGiven));
  EXPECT_FALSE(AddMarks(events, event, kCounted, kCounted));
}

}  // namespace
}  // namespace tarnlex
