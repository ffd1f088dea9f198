// What a row says of the query that took its record.
#pragma once

#include <cstdint>

#include "output/event_rows.h"
#include "reports/query_spec.h"

namespace tarnlex {

// Rows of a query that has a name have it kept by their collection, from the first one on.
inline void FillRowQuery(EventRows& rows, const QuerySpec& spec, std::uint32_t position,
                         EventRecord& row) {
  row.queryIndex = position;
  const bool is_kept = spec.name.empty() || !QueryNameOf(rows, row).empty();
  if (!is_kept) KeepQueryName(rows, position, spec.name);
}

}  // namespace tarnlex
