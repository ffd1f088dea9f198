#include "reports/filter.h"

#include <gtest/gtest.h>

namespace tarnlex {
namespace {

bool Holds(std::string_view condition, std::string_view text) {
  return ConditionHolds(ParseCondition(condition), text);
}

TEST(Condition, FindsTheWantedTextAnywhereInAnyCase) {
  EXPECT_TRUE(Holds("LogonType|2", "12"));
  EXPECT_TRUE(Holds("f|SeSystemTimePrivilege", "x\r\nsesystemtimeprivilege y"));
  EXPECT_FALSE(Holds("LogonType|5s", "5"));
}

TEST(Condition, AsksForAnyTextWithoutAWantedOne) {
  EXPECT_TRUE(Holds("field", "x"));
  EXPECT_FALSE(Holds("field", ""));
  EXPECT_TRUE(Holds("field|", "x"));
}

TEST(Condition, NeverHoldsForAnEmptyText) {
  EXPECT_FALSE(Holds("field|x", ""));
  EXPECT_FALSE(Holds("field|", ""));
}

TEST(Condition, IsCutAtItsFirstBar) {
  const Condition condition = ParseCondition("a|B|c");
  EXPECT_EQ(condition.field, "a");
  EXPECT_EQ(condition.wanted, "b|c");
  EXPECT_TRUE(condition.given);
  EXPECT_FALSE(ParseCondition("").given);
}

TEST(QueryTests, AcceptAnyIdOrOne) {
  EXPECT_TRUE(IdPasses(MakeQueryTests({}), 4624));
  QuerySpec query;
  query.event_id = 4624;
  EXPECT_TRUE(IdPasses(MakeQueryTests(query), 4624));
  EXPECT_FALSE(IdPasses(MakeQueryTests(query), 4625));
}

TEST(QueryTests, IncludeBothEndsOfTheWindow) {
  QuerySpec query;
  query.start_time = 100;
  EXPECT_FALSE(TimePasses(MakeQueryTests(query), 99));
  EXPECT_TRUE(TimePasses(MakeQueryTests(query), 100));
  EXPECT_TRUE(TimePasses(MakeQueryTests(query), ~std::uint64_t{0}));  // 0 is no upper bound
  query.stop_time = 200;
  EXPECT_TRUE(TimePasses(MakeQueryTests(query), 200));
  EXPECT_FALSE(TimePasses(MakeQueryTests(query), 201));
}

TEST(RunOverrides, ReplaceWhatTheRunGives) {
  RunOptions options;
  options.start_time = 5;
  options.stop_time = 6;
  options.substring = "run";
  QuerySpec query;
  query.start_time = 1;
  query.stop_time = 2;
  query.string_exists = "line";
  ApplyRunOverrides(options, query);
  EXPECT_EQ(query.start_time, 5U);
  EXPECT_EQ(query.stop_time, 6U);
  EXPECT_EQ(query.string_exists, "run");
}

TEST(RunOverrides, KeepTheQuerysOwnWhereTheRunGivesNothing) {
  RunOptions options;
  for (const std::uint64_t stop : {std::uint64_t{0}, ~std::uint64_t{0}}) {
    options.stop_time = stop;
    QuerySpec query;
    query.start_time = 1;
    query.stop_time = 2;
    query.string_exists = "line";
    ApplyRunOverrides(options, query);
    EXPECT_EQ(query.start_time, 1U);
    EXPECT_EQ(query.stop_time, 2U);
    EXPECT_EQ(query.string_exists, "line");
  }
}

TEST(QueryTests, PassIdentifiersOfARangeWithBothItsEnds) {
  QuerySpec query;
  query.event_id = 4720;
  query.last_event_id = 4767;
  const QueryTests range = MakeQueryTests(query);
  for (const std::uint64_t id : {4720U, 4740U, 4767U}) EXPECT_TRUE(IdPasses(range, id)) << id;
  for (const std::uint64_t id : {0U, 4719U, 4768U}) EXPECT_FALSE(IdPasses(range, id)) << id;
  query.last_event_id = 0;
  EXPECT_FALSE(IdPasses(MakeQueryTests(query), 4721));
}

}  // namespace
}  // namespace tarnlex
