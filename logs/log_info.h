// One event log as the run knows it: where it lies, which container it uses, what it holds.
#pragma once

#include <cstdint>
#include <map>
#include <string>

namespace tarnlex {

enum class LogFormat : std::uint8_t { EVT, EVTX };

// LogKind: what a log holds, as lower-case text. The program tests for these four; any other text
// (a file name, a channel) is kept as it is. "unk" stands for a log that nobody has judged.
using LogKind = std::string;
inline constexpr const char* kKindSecurity = "security";
inline constexpr const char* kKindSystem = "system";
inline constexpr const char* kKindApplication = "application";
inline constexpr const char* kKindDriverFrameworks = "driverframeworks";
inline constexpr const char* kKindUnknown = "unk";

// How far the opener came with a log.
enum class OpenResult : std::uint8_t {
  kCannotOpen,  // no such file, a directory, no permission
  kNoEventLog,  // empty, or neither container: the walk finds nothing in it either
  kHeaderless,  // no header says what it is, but the walk reads it: chunks, or an EVT log whose
                // header is damaged
  kUnjudged,    // the container is known, what the log holds is not
  kOpened,
};

// What says of which kind a log is.
enum class KindFrom : std::uint8_t { kNothing, kFileName, kRecords };

struct LogInfo {
  std::string path;            // as it will be opened, after expansion of variables
  bool is_evtx = true;         // LogFormat: EVTX, else EVT
  bool format_unknown = true;  // until a header was recognised
  std::uint64_t aux_value = 0;
  LogKind kind = kKindUnknown;
  KindFrom kind_from = KindFrom::kNothing;
  OpenResult opened = OpenResult::kOpened;
};

inline LogFormat FormatOf(const LogInfo& log) {
  return log.is_evtx ? LogFormat::EVTX : LogFormat::EVT;
}

// Logs in path order; the first entry of a path stays.
using LogTable = std::map<std::string, LogInfo>;

}  // namespace tarnlex
