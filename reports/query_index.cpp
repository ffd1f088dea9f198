#include "reports/query_index.h"

#include <algorithm>

namespace tarnlex {

QueryIndex IndexQueries(const QueryList& queries) {
  QueryIndex index;
  for (std::uint32_t position = 0; position < queries.size(); ++position) {
    const QuerySpec& query = queries[position];
    const bool one_id = query.event_id != kAnyEventId && query.last_event_id == 0;
    auto& positions = one_id ? index.by_id[query.event_id] : index.any;
    positions.push_back(position);
    if (query.histogram) index.histograms.push_back(position);
  }
  return index;
}

QueryCandidates CandidatesFor(const QueryIndex& index, std::uint64_t event_id) {
  QueryCandidates candidates{{}, index.any};
  const auto found = index.by_id.find(event_id);
  if (found != index.by_id.end()) candidates.with_id = found->second;
  return candidates;
}

std::span<const std::uint32_t> HistogramsFrom(const QueryIndex& index, std::uint32_t position) {
  const auto first = std::lower_bound(index.histograms.begin(), index.histograms.end(), position);
  return {first, index.histograms.end()};
}

}  // namespace tarnlex
