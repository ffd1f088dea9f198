// The command line becomes `RunOptions`. Options are looked for in a fixed order, not in the order
// in which they were typed, so that the later of two conflicting forms in that order prevails.
#pragma once

#include <string_view>

#include "logs/option_search.h"
#include "logs/run_options.h"

namespace tarnlex {

// Reads everything: the options on output, then the filters, reports and inputs. Recognised
// arguments are taken out of `args`, the rest stays and is ignored. Messages go to
// `options.messages`; `options.diags` names a sink of the caller's that -diags attaches to its
// file. False when the run cannot go on; the reason has been said.
bool ParseOptions(RunOptions& options, Arguments& args);

// The first layer: output forms, separators, formats, output files, status switches.
bool ParseOutputOptions(RunOptions& options, Arguments& args);

}  // namespace tarnlex
