// The tests that queries make on events, for both containers, and the settings of the run that go
// before a query's own.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "logs/run_options.h"
#include "reports/query_spec.h"

namespace tarnlex {

// "LogonType|2" asks that the field LogonType contain "2"; "LogonType" that it have any text.
struct Condition {
  std::string field;
  std::string wanted;  // lower-cased
  bool any_text = false;
  bool given = false;       // an absent condition lets everything pass
  bool first_only = false;  // of several values of the field the first counts, else any
  bool whole = false;       // the text must be what is wanted, not contain it
  bool forbidden = false;   // an event passes where the condition does not hold
};

// Cuts at the first "|". An empty text is an absent condition.
Condition ParseCondition(std::string_view text);

// Whether the field's text satisfies the condition; letters are compared without regard to ASCII
// case. An empty text never does.
bool ConditionHolds(const Condition& condition, std::string_view field_text);

// One query's tests, taken apart once so that no event pays for it.
struct QueryTests {
  std::uint64_t event_id = kAnyEventId;
  std::uint64_t last_event_id = 0;
  std::uint64_t start_time = 0;
  std::uint64_t stop_time = 0;
  std::vector<Condition> conditions;  // those that are given
  std::string exists;                 // lower-cased; empty: not asked for
};
QueryTests MakeQueryTests(const QuerySpec& query);

inline bool IdPasses(const QueryTests& tests, std::uint64_t event_id) {
  return tests.event_id == kAnyEventId || tests.event_id == event_id ||
         (tests.event_id < event_id && event_id <= tests.last_event_id);
}

// Both ends belong to the window; a stop time of 0 is no bound.
inline bool TimePasses(const QueryTests& tests, std::uint64_t filetime) {
  return filetime >= tests.start_time && (tests.stop_time == 0 || filetime <= tests.stop_time);
}

// Puts the run's own time window and search text in place of the query's, where they were given.
void ApplyRunOverrides(const RunOptions& options, QuerySpec& query);

}  // namespace tarnlex
