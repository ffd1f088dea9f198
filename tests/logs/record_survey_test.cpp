#include "logs/record_survey.h"

#include <gtest/gtest.h>

#include <initializer_list>

#include "logs/date_time.h"

namespace tarnlex {
namespace {

constexpr std::uint64_t kNoon = 130'000'000'000'000'000;  // FILETIME
constexpr std::uint64_t kMinute = 60 * kTicksPerSecond;

RecordSurvey Surveyed(std::initializer_list<std::uint64_t> ids) {
  RecordSurvey survey;
  for (const std::uint64_t id : ids) AddRecord(survey, {id, 0, 0});
  return survey;
}

TEST(RecordSurvey, OfNeighboursHasNoGap) {
  const RecordSurvey survey = Surveyed({7, 8, 9});
  EXPECT_EQ(survey.ids, (std::map<std::uint64_t, std::uint64_t>{{7, 9}}));
  EXPECT_EQ(GapsOf(survey).count, 0U);
}

// The chunks of a log that came round stand out of order.
TEST(RecordSurvey, TakesIdentifiersInAnyOrder) {
  const RecordSurvey survey = Surveyed({30, 31, 10, 11, 20, 12, 19, 9});
  EXPECT_EQ(survey.ids, (std::map<std::uint64_t, std::uint64_t>{{9, 12}, {19, 20}, {30, 31}}));
  const IdGaps gaps = GapsOf(survey);
  EXPECT_EQ(gaps.count, 2U);
  EXPECT_EQ(gaps.missing, 6U + 9U);
  ASSERT_EQ(gaps.gaps.size(), 2U);
  EXPECT_EQ(gaps.gaps[0].behind, 12U);
  EXPECT_EQ(gaps.gaps[0].before, 19U);
}

TEST(RecordSurvey, ClosesAGapFromBothSides) {
  EXPECT_EQ(Surveyed({1, 3, 2}).ids.size(), 1U);
  EXPECT_EQ(Surveyed({2, 1}).ids.size(), 1U);
}

TEST(RecordSurvey, CountsIdentifiersThatComeAgain) {
  const RecordSurvey survey = Surveyed({1, 2, 3, 2, 1});
  EXPECT_EQ(survey.repeated, 2U);
  EXPECT_EQ(survey.ids.size(), 1U);
}

TEST(RecordSurvey, TakesTheLargestIdentifiers) {
  constexpr std::uint64_t kMost = ~std::uint64_t{0};
  const RecordSurvey survey = Surveyed({kMost, 0, kMost - 1, kMost});
  EXPECT_EQ(survey.repeated, 1U);
  const IdGaps gaps = GapsOf(survey);
  EXPECT_EQ(gaps.count, 1U);
  EXPECT_EQ(gaps.missing, kMost - 2);
}

TEST(RecordSurvey, KeepsNoMoreRunsThanItsBound) {
  RecordSurvey survey;
  for (std::uint64_t i = 0; i < kMaxIdRuns + 5; ++i) AddRecord(survey, {2 * i, 0, 0});
  EXPECT_EQ(survey.ids.size(), kMaxIdRuns);
  EXPECT_EQ(survey.unplaced, 5U);
  const IdGaps gaps = GapsOf(survey);
  EXPECT_EQ(gaps.count, kMaxIdRuns - 1);
  EXPECT_EQ(gaps.gaps.size(), kMaxListed);
}

TEST(RecordSurvey, NotesATimeMoreThanAMinuteBehindTheOneBefore) {
  RecordSurvey survey;
  AddRecord(survey, {1, 512, kNoon});
  AddRecord(survey, {2, 600, kNoon - kMinute});
  AddRecord(survey, {3, 700, 0});
  AddRecord(survey, {4, 800, kNoon - 2 * kMinute - 1});
  AddRecord(survey, {5, 900, kNoon + kMinute});
  EXPECT_EQ(survey.steps, 1U);
  ASSERT_EQ(survey.steps_back.size(), 1U);
  EXPECT_EQ(survey.steps_back[0].record.id, 4U);
  EXPECT_EQ(survey.steps_back[0].record.file_offset, 800U);
  EXPECT_EQ(survey.steps_back[0].time_before, kNoon - kMinute);
  EXPECT_EQ(survey.first_time, kNoon - 2 * kMinute - 1);
  EXPECT_EQ(survey.last_time, kNoon + kMinute);
}

TEST(RecordSurvey, DoesNotTakeTheOldestRecordOfARingForAStepBack) {
  RecordSurvey survey;
  AddRecord(survey, {900, 0, kNoon});
  AddRecord(survey, {500, 0, kNoon - 100 * kMinute});
  EXPECT_EQ(survey.steps, 0U);
}

TEST(RecordSurvey, ListsTheFirstThousandAndCountsAll) {
  RecordSurvey survey;
  for (std::uint64_t i = 0; i < kMaxListed + 10; ++i) {
    AddRecord(survey, {2 * i, 0, kNoon});
    AddRecord(survey, {2 * i + 1, 0, kNoon - 2 * kMinute});
    AddCleared(survey, {1102, {i, 0, kNoon}});
  }
  EXPECT_EQ(survey.steps, kMaxListed + 10);
  EXPECT_EQ(survey.steps_back.size(), kMaxListed);
  EXPECT_EQ(survey.clears, kMaxListed + 10);
  EXPECT_EQ(survey.cleared.size(), kMaxListed);
}

}  // namespace
}  // namespace tarnlex
