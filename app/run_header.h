// The lines that open every run: which program ran, when, where, and with which command line. An
// examiner keeps them with the records.
#pragma once

#include <cstdint>
#include <string>

#include "logs/option_search.h"
#include "logs/platform.h"

namespace tarnlex {

// The machine's description in one text: its fields joined by ";", a ";" inside them blanked. Empty
// when the system did not tell.
std::string MachineText(const MachineInfo& machine);

// The arguments joined by blanks, those with a blank inside in single quotes; in double quotes as a
// whole, with "cmdline: " in front.
std::string CommandLineText(const Arguments& args);

// All lines, each ending in a line feed, for `args` as they were typed and the instant `now`.
std::string BuildRunHeader(const Arguments& args, std::uint64_t now);

}  // namespace tarnlex
