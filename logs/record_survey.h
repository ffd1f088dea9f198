// What the records of a log tell together, whatever its container: which identifiers are there and
// which are not, where the clock went back, and which events say that a log was cleared. Gathered
// with -account.
#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <vector>

namespace tarnlex {

// Of each kind of thing that an account lists; the others are only counted.
inline constexpr std::size_t kMaxListed = 1000;

// Runs of identifiers that are told apart. Whole logs have a handful.
inline constexpr std::size_t kMaxIdRuns = 100'000;

// How far a time lies behind the one before it to be worth a mention.
inline constexpr std::uint64_t kBackBySeconds = 60;

// A record as a survey sees it.
struct SurveyedRecord {
  std::uint64_t id = 0;
  std::uint64_t file_offset = 0;
  std::uint64_t time = 0;  // FILETIME, the event's own where it has one; 0: undated
};

// A record that is earlier than the one before it, whose identifier is smaller.
struct StepBack {
  SurveyedRecord record;
  std::uint64_t time_before = 0;
};

// An event that says that a log was cleared.
struct ClearedLog {
  std::uint64_t event_id = 0;
  SurveyedRecord record;
};

// Identifiers between two that are there.
struct IdGap {
  std::uint64_t behind = 0;
  std::uint64_t before = 0;
};

struct RecordSurvey {
  std::map<std::uint64_t, std::uint64_t> ids;  // runs of identifiers: the first to the last
  std::uint64_t repeated = 0;                  // records whose identifier another one has
  std::uint64_t unplaced = 0;  // whose identifier went into no run, as there were too many
  std::uint64_t first_time = 0;
  std::uint64_t last_time = 0;
  std::uint64_t steps = 0;
  std::vector<StepBack> steps_back;  // at most kMaxListed
  std::uint64_t clears = 0;
  std::vector<ClearedLog> cleared;  // at most kMaxListed
  SurveyedRecord before;            // the last one that has a time
};

// Takes up the next record, in order of place.
void AddRecord(RecordSurvey& survey, const SurveyedRecord& record);
void AddCleared(RecordSurvey& survey, const ClearedLog& cleared);

// What lies between the runs.
struct IdGaps {
  std::uint64_t count = 0;
  std::uint64_t missing = 0;  // identifiers
  std::vector<IdGap> gaps;    // at most kMaxListed
};
IdGaps GapsOf(const RecordSurvey& survey);

}  // namespace tarnlex
