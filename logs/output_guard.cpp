#include "logs/output_guard.h"

#include <algorithm>

#include "logs/log_content.h"

namespace tarnlex {

bool HoldsEventLog(const std::string& path) { return ContentOfFile(path) != LogContent::kNone; }

bool IsSameFile(const std::string& path, const LogTable& logs, const std::string& other) {
  const auto id = IdentifyFile(path);
  if (!id) return false;
  return id == IdentifyFile(other) || std::any_of(logs.begin(), logs.end(), [&id](const auto& log) {
           return id == IdentifyFile(log.second.path);
         });
}

std::optional<std::function<bool(std::string_view)>> OpenGuardedOutput(const std::string& path,
                                                                       bool append) {
  if (HoldsEventLog(path)) return std::nullopt;
  return OpenOutput(path, append);
}

}  // namespace tarnlex
