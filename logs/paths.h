// Paths as text: taking them apart, joining them, and the variables in them. Both "\" and "/" occur
// on every system, since paths are also taken from logs and lists that were made elsewhere.
#pragma once

#include <string>
#include <string_view>

namespace tarnlex {

// The device of a volume shadow copy; its number follows immediately.
inline constexpr const char* kShadowCopyPrefix =
    "\\\\?\\GLOBALROOT\\Device\\HarddiskVolumeShadowCopy";

// Longer paths are not searched for variables.
inline constexpr std::size_t kMaxExpandedPath = 512;

// Cuts at the last "\", or at the last "/" when there is none. A name of ".." becomes "." and the
// directory takes it over; without separator the directory is "." (or "..", for the path ".."). A
// path that ends in its separator has an empty name. False, both texts empty, for an empty path.
bool SplitPath(std::string_view path, std::string& directory, std::string& name);

// What stands behind the last "\" or "/", whichever comes later: the name under which a log made on
// any system is known.
std::string_view FileNameOf(std::string_view path);

// `path` with every %NAME% that the environment knows replaced by its value, and %VSS% (any case)
// by the shadow copy device unless the environment has such a name. Unknown names stay as they are.
// Values are searched in their turn, with a bound on how often, as a value may name itself.
std::string ExpandPathVariables(std::string_view path);

// `name` inside `directory`, with the system's separator between them where one is missing.
std::string JoinPath(std::string_view directory, std::string_view name);

// Whether a path stands by itself: it begins with a separator or, on Windows, with a drive.
bool IsAbsolutePath(std::string_view path);

}  // namespace tarnlex
