#include "logs/record_survey.h"

#include <algorithm>
#include <iterator>

#include "logs/date_time.h"

namespace tarnlex {
namespace {

using Run = std::map<std::uint64_t, std::uint64_t>::iterator;

// Joins a run with the next one when nothing lies between them.
void JoinNext(RecordSurvey& survey, Run run) {
  const auto next = std::next(run);
  if (next == survey.ids.end() || next->first - 1 != run->second) return;
  run->second = next->second;
  survey.ids.erase(next);
}

void BeginRun(RecordSurvey& survey, std::uint64_t id) {
  if (survey.ids.size() >= kMaxIdRuns) {
    ++survey.unplaced;
    return;
  }
  JoinNext(survey, survey.ids.emplace(id, id).first);
}

void AddId(RecordSurvey& survey, std::uint64_t id) {
  const auto behind = survey.ids.upper_bound(id);
  if (behind == survey.ids.begin()) {
    BeginRun(survey, id);
    return;
  }
  const auto run = std::prev(behind);
  if (id <= run->second) {
    ++survey.repeated;
  } else if (id - 1 == run->second) {
    run->second = id;
    JoinNext(survey, run);
  } else {
    BeginRun(survey, id);
  }
}

// Where identifiers go down a log has come round, or was put together, and times say nothing.
void CompareTimes(RecordSurvey& survey, const SurveyedRecord& record) {
  const SurveyedRecord& before = survey.before;
  constexpr std::uint64_t kTicksBack = kBackBySeconds * kTicksPerSecond;
  if (before.time <= record.time || before.time - record.time <= kTicksBack) return;
  if (record.id <= before.id) return;
  ++survey.steps;
  if (survey.steps_back.size() < kMaxListed) survey.steps_back.push_back({record, before.time});
}

}  // namespace

void AddRecord(RecordSurvey& survey, const SurveyedRecord& record) {
  AddId(survey, record.id);
  if (record.time == 0) return;
  CompareTimes(survey, record);
  survey.before = record;
  const bool first = survey.first_time == 0;
  survey.first_time = first ? record.time : std::min(survey.first_time, record.time);
  survey.last_time = std::max(survey.last_time, record.time);
}

void AddCleared(RecordSurvey& survey, const ClearedLog& cleared) {
  ++survey.clears;
  if (survey.cleared.size() < kMaxListed) survey.cleared.push_back(cleared);
}

IdGaps GapsOf(const RecordSurvey& survey) {
  IdGaps gaps;
  for (auto run = survey.ids.begin(); run != survey.ids.end(); ++run) {
    const auto next = std::next(run);
    if (next == survey.ids.end()) break;
    ++gaps.count;
    gaps.missing += next->first - run->second - 1;
    if (gaps.gaps.size() < kMaxListed) gaps.gaps.push_back({run->second, next->first});
  }
  return gaps;
}

}  // namespace tarnlex
