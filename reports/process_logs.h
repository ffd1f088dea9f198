// The work itself: every log of the table through whatever was asked for.
#pragma once

#include "logs/run_options.h"

namespace tarnlex {

// Runs the selected reports in their fixed order, then the lines of the command file, or the plain
// dump when neither was asked for, over the logs of `options.logs` in path order; rows go to
// `options.record_output`, counts to `options.statistics`, traces to `options.diags`, progress to
// `options.messages`. True when at least one row was written.
bool ProcessLogs(RunOptions& options);

}  // namespace tarnlex
