// What a command line asks for that will not be done, in lines for whoever typed it.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "logs/option_search.h"

namespace tarnlex {

// Remarks on the arguments of a run that begins at `now`. Nothing is read or changed.
std::vector<std::string> RemarksOn(const Arguments& args, std::uint64_t now);

}  // namespace tarnlex
