// EVT records against queries: whether a query takes a record, and the row it makes of it.
#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include "evt/record.h"
#include "output/event_rows.h"
#include "reports/filter.h"
#include "reports/query_spec.h"
#include "reports/row_query.h"

namespace tarnlex {

// The shape of a row and where each of its cells comes from, in column order.
struct EvtColumns {
  const ColumnSet* set = nullptr;
  std::vector<std::int32_t> sources;  // a string's number from 1, or one of the values below
};
inline constexpr std::int32_t kFromNothing = 0;  // written "-"
inline constexpr std::int32_t kFromSourceName = -1;
inline constexpr std::int32_t kFromComputerName = -2;

// A query made ready for one EVT log.
struct EvtQuery {
  const QuerySpec* spec = nullptr;
  std::uint32_t position = 0;
  QueryTests tests;
  std::string text;  // scratch of the tests

  // What is remembered of the collection that the rows go to.
  std::map<std::size_t, EvtColumns> columns;  // by number of strings; pulls have one shape, under 0
  RowQuery texts;
};

// For when the rows go to another collection from now on.
void ForgetRows(EvtQuery& query);

// Rewrites a query's pull list for EVT, once per query: "source name", "computer name", then
// "param_01" for string 1 and so on; labels go to their map, lower-cased, the first of a number
// staying. Entries that are no number stand for string 0, which no record has. Histogram fields
// that are numbers become labels or "param_" names.
void PrepareForEvt(QuerySpec& query);

// Queries ready for a walk; `queries` are rewritten and must outlive the result.
std::vector<EvtQuery> PrepareEvtQueries(QueryList& queries);

// Whether the query takes the record.
bool EvtQueryTakes(EvtQuery& query, EvtRecord& record);

// Adds the row that the query makes of a record. `rows` is the collection of this log, the same for
// all records, since column sets are remembered.
void AddEvtRow(EventRows& rows, EvtQuery& query, EvtRecord& record);

}  // namespace tarnlex
