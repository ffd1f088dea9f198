#include "logs/paths.h"

#include <optional>

#include "logs/platform.h"
#include "logs/text.h"

namespace tarnlex {
namespace {

constexpr int kMaxExpansions = 512;

bool IsSeparator(char c) { return c == '/' || (c == '\\' && OnWindows()); }

std::optional<std::string> VariableValue(const std::string& name) {
  // An empty name or one with "=" could never be set; some systems refuse to look for it.
  if (!name.empty() && name.find('=') == std::string::npos) {
    if (auto value = Environment(name)) return value;
  }
  if (EqualsNoCase(name, "vss")) return kShadowCopyPrefix;
  return std::nullopt;
}

}  // namespace

bool SplitPath(std::string_view path, std::string& directory, std::string& name) {
  directory.clear();
  name.clear();
  if (path.empty()) return false;
  std::string_view parent = "\\..";
  std::size_t cut = path.rfind('\\');
  if (cut == std::string_view::npos) {
    parent = "//..";
    cut = path.rfind('/');
  }
  if (cut == std::string_view::npos) {
    const bool up = path == "..";
    directory = up ? ".." : ".";
    name = up ? "." : path;
    return true;
  }
  directory = path.substr(0, cut);
  name = path.substr(cut + 1);
  if (name == "..") {
    name = ".";
    directory += parent;
  }
  return true;
}

std::string_view FileNameOf(std::string_view path) {
  return path.substr(path.find_last_of("/\\") + 1);
}

std::string ExpandPathVariables(std::string_view path) {
  std::string expanded(path);
  std::size_t from = 0;
  int expansions = 0;
  while (expanded.size() <= kMaxExpandedPath) {
    const std::size_t first = expanded.find('%', from);
    if (first == std::string::npos) break;
    const std::size_t second = expanded.find('%', first + 1);
    if (second == std::string::npos) break;
    const auto value = VariableValue(expanded.substr(first + 1, second - first - 1));
    if (value && expansions++ < kMaxExpansions) {
      expanded.replace(first, second - first + 1, *value);
      from = first;
    } else {
      from = second + 1;
    }
  }
  return expanded;
}

std::string JoinPath(std::string_view directory, std::string_view name) {
  std::string joined(directory);
  if (!joined.empty() && !IsSeparator(joined.back())) joined += OnWindows() ? '\\' : '/';
  joined += name;
  return joined;
}

bool IsAbsolutePath(std::string_view path) {
  if (path.empty()) return false;
  return IsSeparator(path.front()) || (OnWindows() && path.size() > 1 && path[1] == ':');
}

}  // namespace tarnlex
