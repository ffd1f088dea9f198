// A whole log from its bytes to its output, as a run does it, for targets and tests.
#pragma once

#include <string>

#include "logs/platform.h"
#include "logs/run_options.h"
#include "logs/text_sink.h"
#include "reports/query_spec.h"

namespace tarnlex {

// Walks `file` with `queries` and writes the rows they make, in the form that `options` asks for,
// to `out`.
void RunQueries(const InputFile& file, QueryList& queries, RunOptions& options, TextSink& out);

// Walks `file` with the plain dump's queries and writes its rows, in the form that `options` asks
// for, to `out`.
void DumpLog(const InputFile& file, RunOptions& options, TextSink& out);

}  // namespace tarnlex
