// What is made of a terminal that somebody reads from: how wide lines are, and whether they are
// coloured.
#pragma once

#include "app/run.h"
#include "logs/run_options.h"

namespace tarnlex {

// Cards on a terminal fit it, unless a width was asked for.
void FitToScreen(RunOptions& options, const Console& console);

// Whether standard output is coloured: as was asked for, else on a terminal that understands it,
// unless the environment has a NO_COLOR that is not empty.
bool WantsColor(const RunOptions& options, const Console& console);

}  // namespace tarnlex
