// The real logs that tests are run over, where there are any.
#pragma once

#include <algorithm>
#include <cctype>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <vector>

namespace tarnlex {

// Every log below $TARNLEX_LOGS, in order of path; none where that is not set.
inline std::vector<std::string> PathsOfRealLogs() {
  std::vector<std::string> paths;
  const char* root = std::getenv("TARNLEX_LOGS");
  if (root == nullptr) return paths;
  for (const auto& entry : std::filesystem::recursive_directory_iterator(root)) {
    std::string extension = entry.path().extension().string();
    std::transform(extension.begin(), extension.end(), extension.begin(), ::tolower);
    if (extension == ".evtx" || extension == ".evt") paths.push_back(entry.path().string());
  }
  std::sort(paths.begin(), paths.end());
  return paths;
}

}  // namespace tarnlex
