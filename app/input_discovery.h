// Where the logs of a run come from: a list, folders, the running system, a mounted volume, a
// shadow copy. Piped paths are read while the run goes on instead.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "app/folder_scan.h"
#include "logs/log_info.h"
#include "logs/run_options.h"
#include "logs/text_sink.h"

namespace tarnlex {

// Fills `logs` from the sources that the run names; those of a list are not looked at yet, those of
// folders are judged. False when there is none, or when the source clashes with another, is out of
// reach or holds no log, or when `stop` has ended the search. What there is to say of that is added
// to `complaints`. What lies in the folders and cannot be read comes to `unread`, of which nothing
// is said unless there is no log.
bool FindLogs(const RunOptions& options, LogTable& logs, std::vector<UnreadPath>& unread,
              std::string& complaints, const std::function<bool()>& stop = {});

// Judges each log of -log, and names those that cannot be opened or hold no event log; they stay in
// the table all the same. Those of a system's directory are judged already, by their names; with
// -complete their records have a say too.
void JudgeLogs(const RunOptions& options, LogTable& logs, TextSink& messages);

// Fills `table` with the event logs in `directory`, judged by their names: ".evtx" files when the
// path says "winevt" in any case, else ".evt" files; a file whose
// bytes say that it is of the other kind is of that kind. The first `prefix_size` characters, a
// mount point with a name of the examiner's own, say nothing. False when there is none.
bool ScanLogDirectory(LogTable& table, const std::string& directory, std::size_t prefix_size = 0);

}  // namespace tarnlex
