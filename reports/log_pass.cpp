#include "reports/log_pass.h"

#include "output/record_output.h"
#include "output/table.h"

namespace tarnlex {
namespace {

// Offers a record to the queries that may take it, in order, until one does: `takes` tests, `add`
// makes the row.
template <typename Takes, typename Add>
void Offer(LogPass& pass, std::uint64_t event_id, Takes takes, Add add) {
  QueryCandidates candidates = CandidatesFor(pass.index, event_id);
  for (std::uint32_t position = 0; NextCandidate(candidates, position);) {
    if (!takes(position)) continue;
    if (pass.queries[position].emit_row) add(position);
    return;
  }
}

}  // namespace

void PrepareEvtxPass(LogPass& pass) {
  pass.index = IndexQueries(pass.queries);
  pass.evtx = PrepareEvtxQueries(pass.queries);
}

void PrepareEvtPass(LogPass& pass) {
  pass.index = IndexQueries(pass.queries);
  pass.evt = PrepareEvtQueries(pass.queries);
}

void RouteEvtxRecord(LogPass& pass, EvtxDecoder& decoder, DecodedEvent& event) {
  std::vector<EvtxQuery>& queries = pass.evtx.queries;
  Offer(
      pass, event.event_id,
      [&](std::uint32_t at) { return EvtxQueryTakes(pass.evtx, queries[at], decoder, event); },
      [&](std::uint32_t at) { AddEvtxRow(pass.rows, pass.evtx, queries[at], decoder, event); });
}

void RouteEvtRecord(LogPass& pass, EvtRecord& record) {
  Offer(
      pass, record.event_id, [&](std::uint32_t at) { return EvtQueryTakes(pass.evt[at], record); },
      [&](std::uint32_t at) { AddEvtRow(pass.rows, pass.evt[at], record); });
}

void WriteRows(LogPass& pass) {
  if (pass.rows.rows.empty()) return;
  TextSink* sink = RecordSink(*pass.options.record_output, pass.log, pass.options);
  if (sink) WriteLogResults(*sink, pass.rows, pass.log, pass.options);
  pass.wrote = true;
  ClearRows(pass.rows);
}

}  // namespace tarnlex
