#include "evt/plan.h"

#include <gtest/gtest.h>

#include <span>
#include <string>
#include <vector>

#include "tests/support/evt_builder.h"

namespace tarnlex {
namespace {

using support::ByteString;

std::string Field(const ByteString& bytes, std::string_view name) {
  EvtRecord record;
  EXPECT_TRUE(ReadEvtRecord(bytes, 0, record));
  const Plan& plan = EvtPlanOf(record);
  const PlanValue* value = FindValue(plan, EvtConditionName(name));
  std::string scratch;
  return value ? std::string(TextOf(record.structure, plan, *value, scratch)) : std::string();
}

ByteString Sample() {
  return support::EvtEntryBytes({.event_id = 528,
                                 .type = 8,
                                 .source = "Security",
                                 .sid = "S-1-5-21-1-2-3-500",
                                 .strings = {"ab", "", "c"}});
}

TEST(EvtPlan, KnowsItsNames) {
  EXPECT_EQ(Field(Sample(), "source_name"), "Security");
  EXPECT_EQ(Field(Sample(), "user_sid"), "S-1-5-21-1-2-3-500");
  EXPECT_EQ(Field(Sample(), "success_type"), "8");
  EXPECT_EQ(Field(Sample(), "string"), "abc");
}

TEST(EvtPlan, FindsStringsByNumberUpToTheLast) {
  EXPECT_EQ(Field(Sample(), "1"), "ab");
  EXPECT_EQ(Field(Sample(), "2"), "");
  EXPECT_EQ(Field(Sample(), "3"), "c");
  EXPECT_EQ(Field(Sample(), "03"), "c");
  EXPECT_EQ(Field(Sample(), "0"), "");
  EXPECT_EQ(Field(Sample(), "4"), "");
  EXPECT_EQ(Field(Sample(), "99999999999999999999999"), "");
}

TEST(EvtPlan, MatchesNamesExactly) {
  EXPECT_EQ(Field(Sample(), "Source_Name"), "");
  EXPECT_EQ(Field(Sample(), "source name"), "");
  EXPECT_EQ(Field(Sample(), "STRING"), "");
  EXPECT_EQ(Field(Sample(), "1x"), "");
  EXPECT_EQ(Field(Sample(), ""), "");
}

TEST(EvtPlan, HasNoSidWhereTheRecordHasNone) {
  EXPECT_EQ(Field(support::EvtEntryBytes({.strings = {"a"}}), "user_sid"), "");
}

TEST(EvtPlan, JoinsNoStringsToNothing) {
  EXPECT_EQ(Field(support::EvtEntryBytes({}), "string"), "");
}

using Names = std::vector<std::string>;
Names NamesOf(std::span<const PlanValue> values) {
  Names names;
  for (const PlanValue& value : values) names.emplace_back(value.name);
  return names;
}

TEST(EvtPlan, MakesColumnsOfNamesAndStringsAndSearchesTheSidToo) {
  EvtRecord record;
  const ByteString bytes = Sample();
  ASSERT_TRUE(ReadEvtRecord(bytes, 0, record));
  const Plan& plan = EvtPlanOf(record);
  Names columns{"source name", "computer name", "param_01", "param_02", "param_03"};
  EXPECT_EQ(NamesOf(EvtColumnValues(plan)), columns);
  columns.emplace_back("user_sid");
  EXPECT_EQ(NamesOf(EvtSearchedValues(plan)), columns);
}

std::string Pulled(Policy policy, std::string_view column) {
  EvtRecord record;
  const ByteString bytes = Sample();
  EXPECT_TRUE(ReadEvtRecord(bytes, 0, record));
  const Plan& plan = EvtPlanOf(record);
  std::string scratch;
  return std::string(TextOf(record.structure, plan, EvtPulledValue(plan, policy, column), scratch));
}

TEST(EvtPlan, PullsAllButTheLastString) {
  EXPECT_EQ(Pulled(Policy::kLiteral, "source name"), "Security");
  EXPECT_EQ(Pulled(Policy::kLiteral, "param_01"), "ab");
  EXPECT_EQ(Pulled(Policy::kLiteral, "param_02"), "");
  EXPECT_EQ(Pulled(Policy::kLiteral, "param_03"), "-");
  EXPECT_EQ(Pulled(Policy::kLiteral, "param_04"), "-");
  EXPECT_EQ(Pulled(Policy::kLiteral, "user_sid"), "-");
}

TEST(EvtPlan, PullsTheLastStringUnderTheCompletePolicy) {
  EXPECT_EQ(Pulled(Policy::kComplete, "param_01"), "ab");
  EXPECT_EQ(Pulled(Policy::kComplete, "param_03"), "c");
  EXPECT_EQ(Pulled(Policy::kComplete, "param_04"), "-");
  EXPECT_EQ(Pulled(Policy::kComplete, "user_sid"), "-");
}

TEST(EvtPlan, KeepsOnePlanForAllRecordsWithAsManyStrings) {
  EvtRecord record;
  const auto plan_of = [&](const std::vector<std::string>& strings) {
    const ByteString bytes = support::EvtEntryBytes({.strings = strings});
    EXPECT_TRUE(ReadEvtRecord(bytes, 0, record));
    return &EvtPlanOf(record);
  };
  const Plan* one = plan_of({"a"});
  const Plan* two = plan_of({"a", "b"});
  EXPECT_NE(one, two);
  EXPECT_NE(one->id, two->id);
  EXPECT_EQ(plan_of({"c"}), one);
  EXPECT_EQ(plan_of({"c", "d"}), two);
}

TEST(EvtPlan, KeepsNoMorePlansThanRealLogsNeed) {
  EvtRecord record;
  for (std::size_t count = 0; count < 1000; ++count) {
    const ByteString bytes =
        support::EvtEntryBytes({.strings = std::vector<std::string>(count, "x")});
    ASSERT_TRUE(ReadEvtRecord(bytes, 0, record));
    const Plan& plan = EvtPlanOf(record);
    ASSERT_EQ(EvtColumnValues(plan).size(), 2 + count);
    EXPECT_EQ(plan.id == kUnkeptPlan, count >= 361) << count;
  }
  EXPECT_LE(record.plans.strings, 0x10000U);
}

std::string Cleaned(std::string text) {
  text.resize(
      static_cast<std::size_t>(CleanEvtText(text.data(), text.data() + text.size()) - text.data()));
  return text;
}

TEST(EvtPlan, CleansTextsOfAnyLength) {
  for (std::size_t size = 0; size < 70; ++size) {
    std::string text;
    std::string expected;
    for (std::size_t i = 0; i < size; ++i) {
      const char c = "ab\ncd\r\xC3\xA9\tfghijklmnopqrstuvwxyz"[(i * size) % 31];
      text += c;
      if (c != '\r' && c != '\t') expected += c == '\n' ? ',' : c;
    }
    EXPECT_EQ(Cleaned(text), expected);
    const std::string plain(size, 'x');
    EXPECT_EQ(Cleaned(plain), plain);
  }
}

}  // namespace
}  // namespace tarnlex
