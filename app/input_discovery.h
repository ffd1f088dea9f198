// Where the logs of a run come from: a list, the running system, a mounted volume, a shadow copy.
// All of them fill `options.logs`; piped paths are read while the run goes on instead.
#pragma once

#include <string>

#include "logs/run_options.h"

namespace tarnlex {

// -log: every piece of the "|"-separated list becomes an entry of the table, also one that cannot
// be opened or holds no event log; those are named in a message.
void AddLogList(RunOptions& options, const std::string& list);

// -livesys, -partition and -vss. False when the source clashes with -pipe or -log, is out of reach
// or holds no log; the reason has been said.
bool UseLiveSystem(RunOptions& options);
bool UsePartition(RunOptions& options, std::string volume);
bool UseShadowCopy(RunOptions& options, const std::string& number);

// Fills `table` with the event logs in `directory`, judged by their names: ".evtx" files when the
// path says "winevt" in any case, else ".evt" files; a file whose
// bytes say that it is of the other kind is of that kind. The first `prefix_size` characters, a
// mount point with a name of the examiner's own, say nothing. False when there is none.
bool ScanLogDirectory(LogTable& table, const std::string& directory, std::size_t prefix_size = 0);

}  // namespace tarnlex
