// The work itself: every log of the table through whatever was asked for.
#pragma once

#include "logs/run_options.h"
#include "reports/run_state.h"

namespace tarnlex {

// Runs the selected built-in reports in their fixed order, those of the library in theirs, then the
// lines of the command file, or the plain
// dump when neither was asked for, over the logs of `run.logs` in path order; rows go to
// `run.records`, counts to `run.statistics`, traces to `run.diags`, progress to `run.messages`.
// True when at least one row was written.
bool ProcessLogs(const RunOptions& options, RunState& run);

}  // namespace tarnlex
