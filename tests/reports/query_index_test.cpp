#include "reports/query_index.h"

#include <gtest/gtest.h>

#include <random>

namespace tarnlex {
namespace {

using Positions = std::vector<std::uint32_t>;

QueryList WithIds(const std::vector<std::uint64_t>& ids) {
  QueryList queries;
  for (const std::uint64_t id : ids) {
    queries.emplace_back();
    queries.back().event_id = id;
  }
  return queries;
}

Positions PositionsFor(const QueryList& queries, std::uint64_t id) {
  const QueryIndex index = IndexQueries(queries);
  QueryCandidates candidates = CandidatesFor(index, id);
  Positions positions;
  for (std::uint32_t position = 0; NextCandidate(candidates, position);) {
    positions.push_back(position);
  }
  return positions;
}

TEST(QueryIndex, KeepsTheOrderOfTheList) {
  const QueryList queries = WithIds({7, kAnyEventId, 8, 7, kAnyEventId, 7});
  EXPECT_EQ(PositionsFor(queries, 7), (Positions{0, 1, 3, 4, 5}));
  EXPECT_EQ(PositionsFor(queries, 8), (Positions{1, 2, 4}));
  EXPECT_EQ(PositionsFor(queries, 9), (Positions{1, 4}));
  EXPECT_EQ(PositionsFor({}, 9), Positions{});
}

TEST(QueryIndex, FindsWhatTryingEveryQueryFinds) {
  std::minstd_rand random(1);
  for (int round = 0; round < 200; ++round) {
    std::vector<std::uint64_t> ids;
    for (std::size_t i = random() % 12; i > 0; --i) {
      ids.push_back(random() % 3 == 0 ? kAnyEventId : random() % 4);
    }
    for (std::uint64_t id = 0; id < 5; ++id) {
      Positions expected;
      for (std::uint32_t at = 0; at < ids.size(); ++at) {
        if (ids[at] == id || ids[at] == kAnyEventId) expected.push_back(at);
      }
      ASSERT_EQ(PositionsFor(WithIds(ids), id), expected);
    }
  }
}

TEST(QueryIndex, OffersEveryIdentifierToARange) {
  QueryList queries = WithIds({7, 5, 8});
  queries[1].last_event_id = 9;
  EXPECT_EQ(PositionsFor(queries, 7), (Positions{0, 1}));
  EXPECT_EQ(PositionsFor(queries, 5), (Positions{1}));
  EXPECT_EQ(PositionsFor(queries, 8), (Positions{1, 2}));
}

TEST(QueryIndex, GivesTheHistogramsFromAMatchOn) {
  QueryList queries = WithIds({1, 2, 3, 4});
  queries[1].histogram = true;
  queries[3].histogram = true;
  const QueryIndex index = IndexQueries(queries);
  const auto from = [&index](std::uint32_t position) {
    const auto found = HistogramsFrom(index, position);
    return Positions(found.begin(), found.end());
  };
  EXPECT_EQ(from(0), (Positions{1, 3}));
  EXPECT_EQ(from(1), (Positions{1, 3}));
  EXPECT_EQ(from(2), (Positions{3}));
  EXPECT_EQ(from(4), Positions{});
}

}  // namespace
}  // namespace tarnlex
