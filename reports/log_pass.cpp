#include "reports/log_pass.h"

#include "evtx/record.h"
#include "output/table.h"

namespace tarnlex {
namespace {

// Counts the row just made under the query that made it, and under every later one that keeps a
// histogram.
void CountRow(LogPass& pass, std::uint32_t position) {
  if (!pass.options.stats_on) return;
  const EventRecord& row = pass.rows.rows.back();
  const auto count = [&](std::uint32_t query) {
    const QuerySpec& spec = pass.queries[query];
    CountMatch(pass.run.statistics, query,
               pass.log.is_evtx ? spec.histogram_fields : spec.histogram_columns, row);
  };
  count(position);
  for (const std::uint32_t later : HistogramsFrom(pass.index, position)) {
    if (later != position) count(later);
  }
}

void CountAny(LogPass& pass, std::uint64_t event_id, std::uint64_t filetime) {
  if (pass.options.stats_on) CountRecord(pass.run.statistics, event_id, filetime);
}

// Offers a record to the queries that may take it, in order, until one does: `takes` tests, `add`
// makes the row.
template <typename Takes, typename Add>
void Offer(LogPass& pass, std::uint64_t event_id, Takes takes, Add add) {
  QueryCandidates candidates = CandidatesFor(pass.index, event_id);
  for (std::uint32_t position = 0; NextCandidate(candidates, position);) {
    if (!takes(position)) continue;
    if (!pass.queries[position].emit_row) return;
    add(position);
    CountRow(pass, position);
    return;
  }
}

// An empty collection that keeps rows as they will be written, and of them only what will be,
// unless a histogram looks into them.
EventRows MakeRows(const LogPass& pass) {
  EventRows rows;
  if (pass.index.histograms.empty()) {
    rows.joined = JoinedForm(pass.options);
    if (!pass.options.columns.empty()) rows.wanted = &pass.options.columns;
  }
  if (!IsStream(pass.options)) ExpectRepeated(rows.repeated);
  rows.keeps_places = pass.options.recover;
  rows.keeps_hosts = pass.options.complete && pass.options.l2t_form;
  return rows;
}

// Rows are kept until the log ends so that they come out in order. A crafted log could make rows of
// many times its size, though, and then order is worth less than memory.
void BoundMemory(LogPass& pass) {
  if (IsStream(pass.options)) ClearRows(pass.rows);
  if (MemoryOf(pass.rows) < pass.most_memory) return;
  WriteRows(pass);
  pass.rows = MakeRows(pass);
  // These remember column sets and texts of the collection that is gone.
  if (pass.log.is_evtx) pass.evtx = PrepareEvtxQueries(pass.queries);
  ForgetRows(pass.evt);
  if (pass.options.stats_on) ForgetColumns(pass.run.statistics);
}

// Adds what a query makes of a record: a row, or a record of a stream, which goes out at once. Then
// a row is made only to be counted.
template <typename AddRow, typename WriteRecord>
void Add(LogPass& pass, AddRow add_row, WriteRecord write_record) {
  if (!IsStream(pass.options) || pass.options.stats_on) add_row();
  if (!IsStream(pass.options)) return;
  TextSink* const out = RecordSink(pass.run.records, pass.log, pass.options);
  if (!out) return;
  write_record(*out);
  pass.wrote = true;
}

void KeepPlace(EventRows& rows, const RowPlace& place) {
  if (rows.keeps_places) rows.places.push_back(place);
}

void AddEvtx(LogPass& pass, std::uint32_t at, EvtxDecoder& decoder, DecodedEvent& event) {
  Add(
      pass,
      [&] {
        AddEvtxRow(pass.rows, pass.evtx, pass.evtx.queries[at], decoder, event);
        KeepPlace(pass.rows, {event.recovery, event.record_file_offset});
      },
      [&](TextSink& out) {
        WriteEvtxStreamRecord(out, pass.stream, pass.options, pass.queries[at], at, decoder, event);
      });
}

void AddEvt(LogPass& pass, std::uint32_t at, EvtRecord& record) {
  Add(
      pass,
      [&] {
        AddEvtRow(pass.rows, pass.evt, pass.evt.queries[at], record);
        KeepPlace(pass.rows, {{}, record.offset});
      },
      [&](TextSink& out) {
        WriteEvtStreamRecord(out, pass.stream, pass.options, pass.queries[at], at, record);
      });
}

}  // namespace

void PrepareEvtxPass(LogPass& pass) {
  pass.index = IndexQueries(pass.queries);
  pass.evtx = PrepareEvtxQueries(pass.queries);
  pass.rows = MakeRows(pass);
  if (IsStream(pass.options)) pass.stream = MakeRecordStream(pass.log.path, pass.queries);
}

void PrepareEvtPass(LogPass& pass) {
  pass.index = IndexQueries(pass.queries);
  pass.rows = MakeRows(pass);
  pass.evt = PrepareEvtQueries(pass.queries);
  if (IsStream(pass.options)) pass.stream = MakeRecordStream(pass.log.path, pass.queries);
}

void RouteEvtxRecord(LogPass& pass, EvtxDecoder& decoder, DecodedEvent& event) {
  CountAny(pass, event.event_id, event.time);
  std::vector<EvtxQuery>& queries = pass.evtx.queries;
  Offer(
      pass, event.event_id,
      [&](std::uint32_t at) { return EvtxQueryTakes(pass.evtx, queries[at], decoder, event); },
      [&](std::uint32_t at) {
        AddEvtx(pass, at, decoder, event);
        CompareTimes(decoder, event);
      });
  BoundMemory(pass);
}

void RouteEvtRecord(LogPass& pass, EvtRecord& record) {
  CountAny(pass, record.event_id, record.filetime);
  std::vector<EvtQuery>& queries = pass.evt.queries;
  Offer(
      pass, record.event_id,
      [&](std::uint32_t at) { return EvtQueryTakes(pass.evt, queries[at], record); },
      [&](std::uint32_t at) { AddEvt(pass, at, record); });
  BoundMemory(pass);
}

bool WriteRows(LogPass& pass) {
  RecordOutput& output = pass.run.records;
  if (IsStream(pass.options)) return !HasFailed(output);
  if (!pass.rows.rows.empty() && !HasFailed(output)) {
    pass.wrote |= WriteRecords(output, pass.rows, pass.log, pass.options);
  }
  ClearRows(pass.rows);
  return !HasFailed(output);
}

}  // namespace tarnlex
