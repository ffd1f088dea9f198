// What a row says of the query that took its record.
#pragma once

#include <cstdint>
#include <string_view>

#include "output/event_rows.h"
#include "reports/query_spec.h"

namespace tarnlex {

// The query's name as the rows of one collection keep it, from the first row on.
struct RowQuery {
  std::string_view name;
  bool is_kept = false;
};

inline void FillRowQuery(EventRows& rows, const QuerySpec& spec, std::uint32_t position,
                         RowQuery& kept, EventRecord& row) {
  if (!kept.is_kept) kept = {InternText(rows, spec.name), true};
  row.queryIndex = position;
  row.queryName = kept.name;
}

}  // namespace tarnlex
