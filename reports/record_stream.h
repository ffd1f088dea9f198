// Records that are written as they are read: what a pass over a log remembers for the forms that
// keep an event's structure, of which no row is ever kept.
#pragma once

#include <cstdint>
#include <string>
#include <unordered_map>
#include <vector>

#include "evt/record.h"
#include "evtx/decoder.h"
#include "logs/run_options.h"
#include "logs/text_sink.h"
#include "output/event_json.h"
#include "output/event_xml.h"
#include "output/record_json.h"
#include "reports/query_spec.h"

namespace tarnlex {

// What is remembered for one query.
struct QueryStream {
  std::string report;  // its name, as a JSON string; empty for a plain dump
  std::unordered_map<std::uint32_t, RecordJson> pulled;  // by the plan's identifier
};

// Layouts of whole events in one form.
template <typename T>
struct Layouts {
  std::vector<T> kept;  // by the plan's identifier
  T loose;              // of the last record whose plan serves it alone
};

struct RecordStream {
  std::string log;                   // its path, as a JSON string
  std::vector<QueryStream> queries;  // as the pass has them
  Layouts<RecordJson> json;
  Layouts<EventJson> event_json;
  Layouts<EventXml> event_xml;
  std::uint64_t replaced = 0;  // characters that XML cannot hold
  ByStrings<Plan> evt;         // of EVT records: their documents
};

RecordStream MakeRecordStream(const std::string& log_path, const QueryList& queries);

// Writes a record that the query at `position` has taken.
void WriteEvtxStreamRecord(TextSink& out, RecordStream& stream, const RunOptions& options,
                           const QuerySpec& query, std::uint32_t position, EvtxDecoder& decoder,
                           DecodedEvent& event);
void WriteEvtStreamRecord(TextSink& out, RecordStream& stream, const RunOptions& options,
                          const QuerySpec& query, std::uint32_t position, EvtRecord& record);

}  // namespace tarnlex
