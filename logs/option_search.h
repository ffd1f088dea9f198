// Finding options in a list: the arguments of the program, or the pieces of a report line. Names
// are compared whole and without regard to ASCII case; what was found is taken out of the list, so
// that no later search takes it for something else.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace tarnlex {

using Arguments = std::vector<std::string>;

// Takes the first argument equal to `name` out of the list; true when there was one.
bool FindFlag(std::string_view name, Arguments& args);

// Takes the first argument equal to `name` and the one behind it, the value, out of the list. An
// option that stands last has no value and counts as absent: false, nothing changed.
bool FindValue(std::string_view name, Arguments& args, std::string& value);

// The same looks without taking anything out.
bool HasFlag(std::string_view name, const Arguments& args);
bool PeekValue(std::string_view name, const Arguments& args, std::string& value);

}  // namespace tarnlex
