// What a row says of the query that took its record.
#pragma once

#include <cstdint>
#include <string_view>

#include "output/event_rows.h"
#include "reports/query_spec.h"

namespace tarnlex {

// The query's texts as the rows of one collection keep them; empty until the first row.
struct RowQuery {
  std::string_view name;
  std::string_view label;
};

inline void FillRowQuery(EventRows& rows, const QuerySpec& spec, std::uint32_t position,
                         RowQuery& kept, EventRecord& row) {
  if (kept.label.empty()) kept = {InternText(rows, spec.name), InternText(rows, spec.log_path)};
  row.queryIndex = position;
  row.queryName = kept.name;
  row.queryLabel = kept.label;
}

}  // namespace tarnlex
