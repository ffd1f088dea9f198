// Judges what a log is before it is walked: its container from the first bytes, its kind from the
// file name or, where the name says nothing or does not count, from its records.
#pragma once

#include <string>

#include "logs/log_info.h"
#include "logs/platform.h"
#include "logs/run_options.h"

namespace tarnlex {

// How a kind is found.
enum class Judgement {
  kByName,      // from the file name, where that says nothing from the first record
  kByContents,  // from the first record that says it, else from the name; any log is opened
};
constexpr Judgement JudgementOf(const RunOptions& options) {
  return options.complete ? Judgement::kByContents : Judgement::kByName;
}

// Fills `info` for `path` (UTF-8, variables already expanded), reading at most 70,144 bytes by
// name. What comes back stands in `info` too.
OpenResult ProbeLog(LogInfo& info, const std::string& path,
                    Judgement judgement = Judgement::kByName);

// The same for a file that the caller has opened; `path` is only a name here.
OpenResult ProbeLogFile(LogInfo& info, const std::string& path, const InputFile& file,
                        Judgement judgement = Judgement::kByName);

// True when the format was recognised and a kind was settled. Writes no message.
inline bool OpenLog(LogInfo& info, const std::string& path,
                    Judgement judgement = Judgement::kByName) {
  return ProbeLog(info, path, judgement) == OpenResult::kOpened;
}

// Gives a log that was judged by its name the kind that its records tell, if they do.
void TakeKindOfRecords(LogInfo& info);

}  // namespace tarnlex
