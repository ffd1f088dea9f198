// What a row says of the query that took its record.
#pragma once

#include <cstdint>

#include "output/event_rows.h"
#include "reports/query_spec.h"

namespace tarnlex {

// Whether the rows of a collection have been told the query's name; from the first row on.
struct RowQuery {
  bool is_kept = false;
};

inline void FillRowQuery(EventRows& rows, const QuerySpec& spec, std::uint32_t position,
                         RowQuery& kept, EventRecord& row) {
  if (!kept.is_kept) KeepQueryName(rows, position, spec.name);
  kept.is_kept = true;
  row.queryIndex = position;
}

}  // namespace tarnlex
