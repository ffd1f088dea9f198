#include "output/mirrored_folder.h"

#include "logs/paths.h"

namespace tarnlex {
namespace {

// What separates the parts of the paths that the program has put together itself.
const std::string& Separator() {
  static const std::string kSeparator = JoinPath("a", "").substr(1);
  return kSeparator;
}

// The last part of a folder's path, if it is a name.
std::string OwnName(std::string_view folder) {
  while (!folder.empty() && FileNameOf(folder).empty()) folder.remove_suffix(1);
  const std::string_view name = FileNameOf(folder);
  const bool is_name = name != "." && name != ".." && name.find(':') == std::string_view::npos;
  return std::string(is_name ? name : std::string_view());
}

}  // namespace

std::string MirroredFolder(std::string_view path, const RunOptions& options) {
  for (const std::string& folder : options.folders) {
    const std::string root = JoinPath(folder, "");
    if (!path.starts_with(root)) continue;
    const std::string_view below = path.substr(root.size());
    const std::size_t end = below.rfind(Separator());
    const std::string_view inside = below.substr(0, end == std::string_view::npos ? 0 : end);
    const std::string own = options.folders.size() > 1 ? OwnName(folder) : std::string();
    if (own.empty()) return std::string(inside);
    return inside.empty() ? own : JoinPath(own, inside);
  }
  return {};
}

}  // namespace tarnlex
