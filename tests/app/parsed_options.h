// The options that a command line leads to, with the complaints about it.
#pragma once

#include <string>
#include <vector>

#include "app/parse_options.h"

namespace tarnlex {

inline constexpr std::uint64_t kNow = 133'232'580'000'000'000;  // 2023-03-14 09:00:00

struct ParsedOptions {
  std::string said;
  RunOptions options;
  Arguments rest;
  bool parsed = false;

  explicit ParsedOptions(const std::vector<std::string>& arguments) : rest{"/bin/tarnlex.exe"} {
    rest.insert(rest.end(), arguments.begin(), arguments.end());
    parsed = ParseOptions(options, rest, kNow, said);
  }
};

}  // namespace tarnlex
