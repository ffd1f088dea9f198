// One pass of one log's records over one list of queries: every record goes to the first query that
// takes it, and rows are kept until they are written.
#pragma once

#include <cstdint>
#include <vector>

#include "evt/record.h"
#include "evtx/decoder.h"
#include "logs/log_info.h"
#include "logs/run_options.h"
#include "output/event_rows.h"
#include "reports/evt_query.h"
#include "reports/evtx_query.h"
#include "reports/log_account.h"
#include "reports/query_index.h"
#include "reports/query_spec.h"
#include "reports/record_stream.h"
#include "reports/run_state.h"
#include "reports/unique.h"

namespace tarnlex {

struct LogPass {
  const RunOptions& options;
  RunState& run;
  LogInfo log;  // with the format that its content turned out to have
  QueryList& queries;
  QueryIndex index = {};
  EvtxQueries evtx = {};  // prepared when the log is EVTX
  EvtQueries evt = {};    // prepared when it is EVT
  EventRows rows = {};
  RecordStream stream = {};          // prepared for the forms that are streams
  LogAccount account = {};           // of this walk
  std::size_t first_query = 0;       // the number that its first query is counted under
  std::uint64_t source = kNoSource;  // in an image: where what its records come from begins
  UniquePass unique = {};            // begun where an event is given once
  bool wrote = false;                // a row has been handed to the writers
  std::size_t most_memory = std::size_t{512} << 20;  // of the rows; then they are written
};

// Makes the queries ready for records of the log's format; before the first record.
void PrepareEvtxPass(LogPass& pass);
void PrepareEvtPass(LogPass& pass);

// Names the place in an image that the records to come were found in.
void ComeFrom(LogPass& pass, std::uint64_t source);

// Counts a record and offers it to the queries in their order.
void RouteEvtxRecord(LogPass& pass, EvtxDecoder& decoder, DecodedEvent& event);
void RouteEvtRecord(LogPass& pass, EvtRecord& record);

// Writes and forgets the rows gathered so far. False when they, or rows before them, could not be
// written.
bool WriteRows(LogPass& pass);

}  // namespace tarnlex
