// The lines of an account: one JSON object for each log, and one for the run.
#pragma once

#include <string>

#include "reports/log_account.h"
#include "reports/run_account.h"

namespace tarnlex {

std::string LogLine(const LogAccount& account);
std::string RunLine(const RunAccount& run, const RunFacts& facts);

}  // namespace tarnlex
