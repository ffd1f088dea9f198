#include "reports/log_pass.h"

#include <string>

#include "evtx/record.h"
#include "logs/messages.h"
#include "output/json_text.h"
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
    CountMatch(pass.run.statistics, pass.first_query + query,
               pass.log.is_evtx ? spec.histogram_fields : spec.histogram_columns, row);
  };
  count(position);
  for (const std::uint32_t later : HistogramsFrom(pass.index, position)) {
    if (later != position) count(later);
  }
}

// Says once that from here on events may be given again.
void SayFull(const LogPass& pass) {
  const MarkedEvents& marks = pass.unique.events->marks;
  if (marks.not_kept != 1) return;
  Say(pass.run.messages, "no memory to tell more than ", std::to_string(marks.count),
      " events apart: others may be given again\n");
}

// Whether the record at hand is the first of its event that is put to that use; `event` tells which
// event that is.
template <typename EventOf>
bool IsFirst(LogPass& pass, EventUse use, bool recovered, EventOf event) {
  if (!pass.unique.events) return true;
  std::uint64_t& not_kept = pass.unique.events->marks.not_kept;
  const std::uint64_t before = not_kept;
  const bool first = TakeUse(pass.unique, event(), use, recovered);
  if (not_kept > before) SayFull(pass);
  if (use == EventUse::kGive && !pass.unique.only_notes) {
    pass.account.unique.duplicates += !first;
    pass.account.unique.not_compared += not_kept - before;
  }
  return first;
}

template <typename First>
void CountAny(LogPass& pass, std::uint64_t event_id, std::uint64_t filetime, First is_first) {
  if (!pass.options.stats_on || !is_first(EventUse::kCount)) return;
  CountRecord(pass.run.statistics, event_id, filetime);
}

// Offers a record to the queries that may take it, in order, until one does: `takes` tests, `add`
// makes the row.
template <typename Takes, typename First, typename Add>
void Offer(LogPass& pass, std::uint64_t event_id, Takes takes, First is_first, Add add) {
  QueryCandidates candidates = CandidatesFor(pass.index, event_id);
  for (std::uint32_t position = 0; NextCandidate(candidates, position);) {
    if (!takes(position)) continue;
    if (!pass.queries[position].emit_row || !is_first(EventUse::kGive)) return;
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
  rows.keeps_places = TellsPlaces(pass.options);
  rows.keeps_hosts = pass.options.complete && pass.options.l2t_form;
  return rows;
}

// Rows are kept until the log ends so that they come out in order. A crafted log could make rows of
// many times its size, though, and then order is worth less than memory.
void BoundMemory(LogPass& pass) {
  // Of a stream rows are made only to be counted.
  if (IsStream(pass.options) && !pass.rows.rows.empty()) ClearRows(pass.rows);
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
        KeepPlace(pass.rows, {event.recovery, event.record_file_offset, pass.source});
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
        KeepPlace(pass.rows, {record.recovery, record.offset, pass.source});
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

void ComeFrom(LogPass& pass, std::uint64_t source) {
  if (source == pass.source) return;
  pass.source = source;
  if (IsStream(pass.options)) pass.stream.log = JsonString(pass.log.path + SourceText(source));
}

void RouteEvtxRecord(LogPass& pass, EvtxDecoder& decoder, DecodedEvent& event) {
  BeginRecord(pass.unique);
  const auto is_first = [&](EventUse use) {
    return IsFirst(pass, use, IsRecovered(event.recovery),
                   [&] { return EventOf(pass.unique, decoder, event); });
  };
  CountAny(pass, event.event_id, event.time, is_first);
  std::vector<EvtxQuery>& queries = pass.evtx.queries;
  Offer(
      pass, event.event_id,
      [&](std::uint32_t at) { return EvtxQueryTakes(pass.evtx, queries[at], decoder, event); },
      is_first,
      [&](std::uint32_t at) {
        AddEvtx(pass, at, decoder, event);
        CompareTimes(decoder, event);
      });
  BoundMemory(pass);
}

void RouteEvtRecord(LogPass& pass, EvtRecord& record) {
  BeginRecord(pass.unique);
  const auto is_first = [&](EventUse use) {
    return IsFirst(pass, use, false, [&] { return EventOf(pass.unique, record); });
  };
  CountAny(pass, record.event_id, record.filetime, is_first);
  std::vector<EvtQuery>& queries = pass.evt.queries;
  Offer(
      pass, record.event_id,
      [&](std::uint32_t at) { return EvtQueryTakes(pass.evt, queries[at], record); }, is_first,
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
