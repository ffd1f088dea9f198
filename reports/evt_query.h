// EVT records against queries: whether a query takes a record, and the row it makes of it.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "evt/record.h"
#include "output/event_rows.h"
#include "reports/filter.h"
#include "reports/plan_rows.h"
#include "reports/plan_tests.h"
#include "reports/query_spec.h"
#include "reports/row_query.h"

namespace tarnlex {

// A query made ready for one EVT log.
struct EvtQuery {
  const QuerySpec* spec = nullptr;
  std::uint32_t position = 0;
  QueryTests tests;  // with the fields' names in plans
  // What is known of kept plans, by their identifier.
  std::vector<FieldPlaces> fields;  // of each condition
  KeptLayouts layouts;
};

// The queries of one walk, with what they remember from record to record.
struct EvtQueries {
  std::vector<EvtQuery> queries;
  PlanLayout loose;  // of the last record whose plan serves it alone
  std::string scratch;
};

// For when the rows go to another collection from now on.
void ForgetRows(EvtQueries& all);

// Rewrites a query's pull list for EVT, once per query: "source name", "computer name", then
// "param_01" for string 1 and so on; labels go to their map, lower-cased, the first of a number
// staying. Entries that are no number stand for string 0, which no record has. Histogram fields
// that are numbers become labels or "param_" names. What -label says of a number goes before its
// label, as it is written.
void PrepareForEvt(QuerySpec& query);

// The label of a "param_" name, where the query has one, else the name.
std::string_view EvtColumnName(const QuerySpec& query, std::string_view name);

// Queries ready for a walk; `queries` are rewritten and must outlive the result.
EvtQueries PrepareEvtQueries(QueryList& queries);

// Whether the query takes the record. All records of a walk are read into the same one, since what
// is remembered of plans goes by their identifiers.
bool EvtQueryTakes(EvtQueries& all, EvtQuery& query, EvtRecord& record);

// Adds the row that the query makes of a record. `rows` is the collection of this log, the same for
// all records, since column sets are remembered.
void AddEvtRow(EventRows& rows, EvtQueries& all, EvtQuery& query, EvtRecord& record);

}  // namespace tarnlex
