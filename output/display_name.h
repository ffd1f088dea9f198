// The name under which a log appears in the output.
#pragma once

#include <string>

#include "logs/log_info.h"
#include "logs/run_options.h"

namespace tarnlex {

// The alias whose true path equals the log's path, else the path with a true directory at its head
// (whole components; the longest that fits) replaced by its alias, else the path. Paths are
// compared without regard to ASCII case, with "/" equal to "\".
std::string DisplayName(const LogInfo& log, const RunOptions& options);

}  // namespace tarnlex
