// Between reading the command line and working: everything is checked first, and only a run that
// can begin opens or creates anything.
#pragma once

#include "app/parse_options.h"
#include "reports/run_state.h"

namespace tarnlex {

// Fills `run.logs`, opens the diagnostics, creates the directory for output and empties the file
// for it. Every complaint, also those about the command line itself, goes to `run.messages`. False
// when the run cannot go on; unless it was an output that could not be opened, nothing has been
// created.
bool PrepareRun(const CommandLine& line, RunState& run);

}  // namespace tarnlex
