// The logs that both programs read: sound, damaged, of both containers, with texts of every kind.
#pragma once

#include <string>

namespace tarnlex::windows {

// Writes Security.evtx, SecEvent.Evt, SysEvent.Evt, System.evtx, damaged.evtx, chunk.bin and
// no_log.txt into a directory.
void WriteSampleLogs(const std::string& directory);

}  // namespace tarnlex::windows
