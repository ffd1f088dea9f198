// What the program says when asked for help.
#pragma once

#include <string>

#include "logs/option_search.h"

namespace tarnlex {

// The first line of the usage text and of the run header: name and version.
std::string Banner();

// Whether the arguments (the program's path first) ask for help: by "-h", "-help", "/?" or
// "--help" in any place and case, or by saying nothing at all.
bool WantsHelp(const Arguments& args);

// The whole usage text.
std::string UsageText();

}  // namespace tarnlex
