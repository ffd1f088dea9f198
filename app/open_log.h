// Judges what a log is before anything is decoded: its container from the first bytes, its kind
// from the file name or, where the name says nothing, from the first record.
#pragma once

#include <string>

#include "logs/log_info.h"
#include "logs/platform.h"

namespace tarnlex {

// How far OpenLog came, for callers that tell the examiner why a log was passed over.
enum class OpenResult {
  kCannotOpen,  // no such file, a directory, no permission
  kNoEventLog,  // empty, or neither container: the walk finds nothing in it either
  kHeaderless,  // no header says what it is, but the walk reads it: chunks, or an EVT log whose
                // header is damaged
  kUnjudged,    // the container is known, what the log holds is not
  kOpened,
};

// Fills `info` for `path` (UTF-8, variables already expanded), reading at most 70,144 bytes.
OpenResult ProbeLog(LogInfo& info, const std::string& path);

// The same for a file that the caller has opened; `path` is only a name here.
OpenResult ProbeLogFile(LogInfo& info, const std::string& path, const InputFile& file);

// True when the format was recognised and a kind was settled. Writes no message.
inline bool OpenLog(LogInfo& info, const std::string& path) {
  return ProbeLog(info, path) == OpenResult::kOpened;
}

}  // namespace tarnlex
