#include "logs/output_guard.h"

#include <algorithm>

#include "logs/log_content.h"
#include "logs/paths.h"
#include "logs/text.h"

namespace tarnlex {

bool HoldsEventLog(const std::string& path) { return ContentOfFile(path) != LogContent::kNone; }

bool IsSameFile(const std::string& path, const LogTable& logs, const std::string& other) {
  const auto id = IdentifyFile(path);
  if (!id) return false;
  return id == IdentifyFile(other) || std::any_of(logs.begin(), logs.end(), [&id](const auto& log) {
           return id == IdentifyFile(log.second.path);
         });
}

bool IsSameOutput(const std::string& path, const std::string& other) {
  if (path == other) return true;
  const auto file = IdentifyFile(path);
  const auto other_file = IdentifyFile(other);
  if (file || other_file) return file == other_file;
  std::string folder;
  std::string name;
  std::string other_folder;
  std::string other_name;
  SplitPath(path, folder, name);
  SplitPath(other, other_folder, other_name);
  const auto folder_id = IdentifyFile(folder);
  const bool same_name =
      OnWindows() ? ToLowerAscii(name) == ToLowerAscii(other_name) : name == other_name;
  return same_name && folder_id && folder_id == IdentifyFile(other_folder);
}

std::optional<std::function<bool(std::string_view)>> OpenGuardedOutput(const std::string& path,
                                                                       bool append) {
  if (HoldsEventLog(path)) return std::nullopt;
  return OpenOutput(path, append);
}

}  // namespace tarnlex
