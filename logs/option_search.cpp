#include "logs/option_search.h"

#include <algorithm>

#include "logs/text.h"

namespace tarnlex {
namespace {

template <typename List>
auto Locate(std::string_view name, List& args) {
  return std::find_if(args.begin(), args.end(),
                      [name](const std::string& argument) { return EqualsNoCase(argument, name); });
}

}  // namespace

bool FindFlag(std::string_view name, Arguments& args) {
  const auto found = Locate(name, args);
  if (found == args.end()) return false;
  args.erase(found);
  return true;
}

bool FindValue(std::string_view name, Arguments& args, std::string& value) {
  if (!PeekValue(name, args, value)) return false;
  const auto found = Locate(name, args);
  args.erase(found, found + 2);
  return true;
}

bool HasFlag(std::string_view name, const Arguments& args) {
  return Locate(name, args) != args.end();
}

bool PeekValue(std::string_view name, const Arguments& args, std::string& value) {
  const auto found = Locate(name, args);
  if (found == args.end() || found + 1 == args.end()) return false;
  value = found[1];
  return true;
}

}  // namespace tarnlex
