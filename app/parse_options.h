// The command line becomes `RunOptions`. Options are looked for in a fixed order, not in the order
// in which they were typed, so that the later of two conflicting forms in that order prevails.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "logs/option_search.h"
#include "logs/run_options.h"

namespace tarnlex {

// What the arguments of a run say.
struct CommandLine {
  RunOptions options;
  std::string complaints;            // lines
  std::vector<std::string> remarks;  // what was asked for and will not be done; changes nothing
  bool complete = false;             // false: the run cannot go on, see ParseOptions
};

// `now` is what bounds in time are counted back from.
CommandLine ReadCommandLine(Arguments args, std::uint64_t now);

// Reads everything: the options on output, then the filters, reports and inputs, and does nothing
// else. Recognised arguments are taken out of `args`, the rest stays and is ignored. What there is
// to say of the values, in lines, is added to `complaints`. False when the run cannot go on; then
// the reason is the last of them, and no option behind it has been read.
bool ParseOptions(RunOptions& options, Arguments& args, std::uint64_t now, std::string& complaints);

// The paths of a list with "|" in between; variables are expanded, and a path that is listed twice
// is one.
std::vector<std::string> ReadPathList(const std::string& list);

// "auto", "always" or "never" in any case; nothing for any other text.
std::optional<ColorUse> ReadColorUse(std::string_view text);

// The first layer: output forms, separators, formats, output files, status switches.
bool ParseOutputOptions(RunOptions& options, Arguments& args, std::string& complaints);

}  // namespace tarnlex
