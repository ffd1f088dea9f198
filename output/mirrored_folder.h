// Where in the folder of -outdir the records of a log go that was found below a folder of -dir.
#pragma once

#include <string>
#include <string_view>

#include "logs/run_options.h"

namespace tarnlex {

// The folder of the log as it lies below its folder of -dir; of several these, in one that has its
// name. Empty for a log that lies directly below the only one, and for one of no folder of -dir.
std::string MirroredFolder(std::string_view path, const RunOptions& options);

}  // namespace tarnlex
