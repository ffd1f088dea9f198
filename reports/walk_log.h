// One log from its file to its rows: which walker its content asks for, and how much of it is read
// at a time.
#pragma once

#include "reports/log_pass.h"

namespace tarnlex {

// Walks the log of `pass` and writes its rows. False when the file cannot be opened or is empty.
bool WalkLog(LogPass& pass);

}  // namespace tarnlex
