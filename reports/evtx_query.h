// EVTX records against queries: does a record pass, and which row does it make.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "evtx/decoded_event.h"
#include "evtx/decoder.h"
#include "output/event_rows.h"
#include "reports/filter.h"
#include "reports/planned_rows.h"
#include "reports/query_spec.h"
#include "reports/row_query.h"

namespace tarnlex {

// Where a plan has the field that a query tests.
struct PlannedField {
  bool known = false;
  std::int32_t position = -1;  // in the plan's values; -1 when none has that name
};

struct EvtxQuery {
  const QuerySpec* spec = nullptr;
  std::uint32_t position = 0;
  QueryTests tests;
  RowQuery texts;
  // Of a query that pulls: its columns, and the name that fills each. Null until first used.
  const ColumnSet* pulled = nullptr;
  std::vector<std::string> sources;
  // What is known of plans, by their identifier.
  std::vector<PlannedField> condition_fields;
  std::vector<PlannedField> success_fields;
  std::unordered_map<std::uint32_t, PlannedShape> pulled_shapes;
};

// The columns of records that carry the same names in the same order.
struct EvtxShape {
  std::vector<std::uint32_t> name_ids;
  const ColumnSet* columns = nullptr;
  std::vector<std::uint32_t> order;  // for each column, the position of its value in the record
  std::string_view provider;         // of the last record, kept with the rows
};

// The queries of one walk, with what they remember from record to record.
struct EvtxQueries {
  std::vector<EvtxQuery> queries;
  std::unordered_map<std::uint64_t, std::vector<EvtxShape>> shapes;  // by hash of the name ids
  std::vector<PlannedShape> planned;                                 // by the plan's id
  std::uint64_t names_generation = 0;  // of the name table that the ids belong to
  const ValuePlan* plan = nullptr;     // of the record with the serial number below
  std::uint64_t plan_serial = 0;
  std::string scratch;
};

// Both lists must stay where they are while the result is used.
EvtxQueries PrepareEvtxQueries(const QueryList& queries);

// Whether the record passes all tests of the query. Looks for the record's plan, or decodes its
// values, only when identifier and time leave the question open.
bool EvtxQueryTakes(EvtxQueries& all, EvtxQuery& query, EvtxDecoder& decoder, DecodedEvent& event);

// Adds the row that the query makes of a record it takes.
void AddEvtxRow(EventRows& rows, EvtxQueries& all, EvtxQuery& query, EvtxDecoder& decoder,
                DecodedEvent& event);

}  // namespace tarnlex
