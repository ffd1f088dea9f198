#include "output/display_name.h"

#include <algorithm>
#include <string_view>

#include "logs/text.h"

namespace tarnlex {
namespace {

bool IsSlash(char c) { return c == '/' || c == '\\'; }

bool SamePath(std::string_view a, std::string_view b) {
  return std::equal(a.begin(), a.end(), b.begin(), b.end(), [](char x, char y) {
    return LowerAscii(x) == LowerAscii(y) || (IsSlash(x) && IsSlash(y));
  });
}

// Whether `path` lies somewhere below `directory`, which ends in no slash.
bool LiesBelow(std::string_view path, std::string_view directory) {
  return path.size() > directory.size() && IsSlash(path[directory.size()]) &&
         SamePath(path.substr(0, directory.size()), directory);
}

std::string_view WithoutSlashes(std::string_view directory) {
  while (!directory.empty() && IsSlash(directory.back())) directory.remove_suffix(1);
  return directory;
}

}  // namespace

std::string DisplayName(const LogInfo& log, const RunOptions& options) {
  for (const auto& [alias, path] : options.alias_map) {
    if (SamePath(path, log.path)) return alias;
  }
  std::size_t longest = 0;
  const std::string* best = nullptr;
  for (const auto& [alias, path] : options.alias_path_map) {
    const std::string_view directory = WithoutSlashes(path);
    const bool longer = best == nullptr || directory.size() > longest;
    if (!path.empty() && longer && LiesBelow(log.path, directory)) {
      longest = directory.size();
      best = &alias;
    }
  }
  return best != nullptr ? *best + log.path.substr(longest) : log.path;
}

}  // namespace tarnlex
