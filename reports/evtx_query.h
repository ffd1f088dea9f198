// EVTX records against queries: does a record pass, and which row does it make.
#pragma once

#include <cstdint>
#include <string>
#include <unordered_map>
#include <vector>

#include "evtx/decoder.h"
#include "output/event_rows.h"
#include "reports/filter.h"
#include "reports/plan_rows.h"
#include "reports/plan_tests.h"
#include "reports/query_spec.h"
#include "reports/row_query.h"
#include "reports/text_search.h"

namespace tarnlex {

struct EvtxQuery {
  const QuerySpec* spec = nullptr;
  std::uint32_t position = 0;
  QueryTests tests;
  const ColumnSet* pulled = nullptr;  // of a query that pulls; null until first used
  std::vector<std::vector<std::string_view>> pulled_names;  // for each of these columns
  bool gives_provider_twice = false;                        // under a header of its own, too
  // What is known of kept plans, by their identifier.
  std::vector<FieldPlaces> fields;  // of each condition
  KeptLayouts pulled_layouts;
  TextSearch search;
};

// The columns of records that carry the same names in the same order.
struct NamedColumns {
  const ColumnSet* columns = nullptr;
  std::vector<std::uint32_t> order;  // for each column, the position of its value in the plan
};

// The queries of one walk, with what they remember from record to record.
struct EvtxQueries {
  std::vector<EvtxQuery> queries;
  std::vector<PlanLayout> layouts;                                       // by the plan's identifier
  std::unordered_map<std::uint64_t, std::vector<NamedColumns>> columns;  // by a hash of the names
  NamedColumns picked;                   // of the last plan laid out whose own are not kept
  PlanLayout loose;                      // of the last record whose plan serves it alone
  std::vector<const PlanValue*> values;  // room
  std::string scratch;
};

// Both lists must stay where they are while the result is used.
EvtxQueries PrepareEvtxQueries(const QueryList& queries);

// Whether the record passes all tests of the query. Asks for the record's plan only when identifier
// and time leave the question open.
bool EvtxQueryTakes(EvtxQueries& all, EvtxQuery& query, EvtxDecoder& decoder, DecodedEvent& event);

// Adds the row that the query makes of a record it takes.
void AddEvtxRow(EventRows& rows, EvtxQueries& all, EvtxQuery& query, EvtxDecoder& decoder,
                DecodedEvent& event);

}  // namespace tarnlex
