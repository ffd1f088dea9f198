// One log from its file to its rows: which walker its content asks for, and how much of it is read
// at a time.
#pragma once

#include "logs/platform.h"
#include "reports/log_pass.h"

namespace tarnlex {

// Walks the log of `pass`, or the run's part of it, and writes its rows. False when the file cannot
// be opened or is empty.
bool WalkLog(LogPass& pass);

// The same over a file that the caller has opened; false when it is empty.
bool WalkLogFile(LogPass& pass, const InputFile& file);

}  // namespace tarnlex
