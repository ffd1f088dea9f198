// Evidence is never overwritten: no file is opened for writing that the run reads, or that holds an
// event log.
#pragma once

#include <functional>
#include <optional>
#include <string>
#include <string_view>

#include "logs/log_info.h"
#include "logs/platform.h"

namespace tarnlex {

// Whether the file exists and begins like an event log or a chunk of one.
bool HoldsEventLog(const std::string& path);

// Whether `path` names the same file as an entry of `logs` or as `other`, by the file itself and
// not by how it is spelled.
bool IsSameFile(const std::string& path, const LogTable& logs, const std::string& other);

// Whether two paths, of which files need not exist yet, name the same file of the same folder.
bool IsSameOutput(const std::string& path, const std::string& other);

// OpenOutput, but for files that hold an event log, which give nothing.
std::optional<std::function<bool(std::string_view)>> OpenGuardedOutput(const std::string& path,
                                                                       bool append = false);

}  // namespace tarnlex
