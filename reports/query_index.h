// Which queries may take an event, found by its identifier, so that a report of many lines does not
// make the walk as many times slower.
#pragma once

#include <cstdint>
#include <map>
#include <span>
#include <vector>

#include "reports/query_spec.h"

namespace tarnlex {

struct QueryIndex {
  std::map<std::uint64_t, std::vector<std::uint32_t>> by_id;  // positions that ask for the id
  std::vector<std::uint32_t> any;                             // that ask for none or a range
  std::vector<std::uint32_t> histograms;                      // positions that keep a histogram
};

QueryIndex IndexQueries(const QueryList& queries);

// Steps through the positions of the queries that may take one event, in the order of the list. The
// index must outlive it.
struct QueryCandidates {
  std::span<const std::uint32_t> with_id;
  std::span<const std::uint32_t> any;
};
QueryCandidates CandidatesFor(const QueryIndex& index, std::uint64_t event_id);

// The next position; false when there is none left.
inline bool NextCandidate(QueryCandidates& candidates, std::uint32_t& position) {
  auto& [with_id, any] = candidates;
  if (with_id.empty() && any.empty()) return false;
  auto& next = any.empty() || (!with_id.empty() && with_id[0] < any[0]) ? with_id : any;
  position = next[0];
  next = next.subspan(1);
  return true;
}

// The positions from `position` on that keep a histogram: an event that `position` took counts in
// all of them, untested.
std::span<const std::uint32_t> HistogramsFrom(const QueryIndex& index, std::uint32_t position);

}  // namespace tarnlex
