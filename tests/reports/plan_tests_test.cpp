#include "reports/plan_tests.h"

#include <gtest/gtest.h>

#include <string>
#include <string_view>

namespace tarnlex {
namespace {

// A plan of two values that have one name, the second one under a number.
Plan TwoLevels(std::string_view first, std::string_view second) {
  Plan plan;
  for (const std::string_view text : {first, second}) {
    plan.parts.push_back({text.data(), static_cast<std::uint32_t>(text.size()), 0, false});
  }
  plan.values.push_back({.name = "Level", .first_part = 0, .part_count = 1});
  plan.values.push_back({.name = "Level_02", .first_part = 1, .part_count = 1});
  plan.values[0].first_later = 1;
  return plan;
}

bool Passes(const Condition& condition, const Plan& plan) {
  std::vector<FieldPlaces> places(1);
  std::string scratch;
  return PassesAll({condition}, EventStructure{}, plan, places, scratch);
}

TEST(PlanTests, AnyValueOfANameSatisfiesACondition) {
  const Condition condition = ParseCondition("Level|2");
  EXPECT_TRUE(Passes(condition, TwoLevels("2", "4")));
  EXPECT_TRUE(Passes(condition, TwoLevels("4", "2")));
  EXPECT_FALSE(Passes(condition, TwoLevels("4", "3")));
}

TEST(PlanTests, TheLevelOfAnEventIsItsFirst) {
  QuerySpec query;
  query.success_condition = "Level|2";
  const Condition success = MakeQueryTests(query).conditions.at(0);
  EXPECT_TRUE(Passes(success, TwoLevels("2", "4")));
  EXPECT_FALSE(Passes(success, TwoLevels("4", "2")));
}

TEST(PlanTests, NoValueOfANameMaySatisfyAForbiddenCondition) {
  Condition condition = ParseCondition("Level|2");
  condition.forbidden = true;
  EXPECT_TRUE(Passes(condition, TwoLevels("3", "4")));
  EXPECT_FALSE(Passes(condition, TwoLevels("2", "4")));
  EXPECT_FALSE(Passes(condition, TwoLevels("4", "2")));
}

TEST(PlanTests, AllConditionsHaveToPass) {
  std::vector<FieldPlaces> places(2);
  std::string scratch;
  const std::vector<Condition> both = {ParseCondition("Level|2"), ParseCondition("Level|4")};
  const auto pass = [&](const Plan& plan) {
    return PassesAll(both, EventStructure{}, plan, places, scratch);
  };
  EXPECT_TRUE(pass(TwoLevels("2", "4")));
  EXPECT_FALSE(pass(TwoLevels("2", "3")));
  EXPECT_FALSE(pass(TwoLevels("3", "4")));
}

}  // namespace
}  // namespace tarnlex
