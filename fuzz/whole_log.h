// A whole log from its bytes to its output, as a run does it, for targets and tests.
#pragma once

#include <string>

#include "logs/bytes.h"
#include "logs/platform.h"
#include "logs/run_options.h"
#include "logs/text_sink.h"
#include "reports/query_spec.h"
#include "reports/run_state.h"

namespace tarnlex {

// A run that writes its records to `out` and traces to `trace`; null: no trace is asked for.
RunState RunInto(TextSink& out, TextSink* trace = nullptr);

// Walks `file`, which is called `log`, with `queries` and writes the rows they make, in the form
// that `options` asks for.
void RunQueries(const InputFile& file, const LogInfo& log, QueryList& queries,
                const RunOptions& options, RunState& run);

// Walks `file` with the plain dump's queries and writes its rows, in the form that `options` asks
// for, to `out`. Without `keeps` every record is decoded as if it were the first of its kind.
void DumpLog(const InputFile& file, RunOptions options, TextSink& out, TextSink* trace = nullptr,
             bool keeps = true);

// Whether an EVTX input is to be read with -complete: the byte behind the seven that are compared
// of a signature says so.
inline bool AsksForComplete(Bytes log) { return log.size() > 7 && (log[7] & 1) != 0; }

// Whether it also says that what it does not use any more is to be recovered.
inline bool AsksForRecovery(Bytes log) { return log.size() > 7 && (log[7] & 2) != 0; }

}  // namespace tarnlex
