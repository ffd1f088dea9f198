// What a run says at its end of what it has not read, or not read whole.
#pragma once

#include <string>

#include "logs/run_options.h"
#include "reports/run_account.h"

namespace tarnlex {

// One line, or nothing where there is nothing to remark.
std::string LossRemark(const RunAccount& run, const RunOptions& options);

}  // namespace tarnlex
