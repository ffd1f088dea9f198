// The options that a command line leads to, with everything said on the way.
#pragma once

#include <string>
#include <vector>

#include "app/parse_options.h"

namespace tarnlex {

struct ParsedOptions {
  std::string said;
  TextSink messages = MakeStringSink(said);
  TextSink diags;
  RunOptions options;
  Arguments rest;
  bool parsed = false;

  explicit ParsedOptions(const std::vector<std::string>& arguments) : rest{"/bin/tarnlex.exe"} {
    rest.insert(rest.end(), arguments.begin(), arguments.end());
    options.messages = &messages;
    options.diags = &diags;
    parsed = ParseOptions(options, rest);
  }
  ParsedOptions(const ParsedOptions&) = delete;
  ParsedOptions& operator=(const ParsedOptions&) = delete;
};

}  // namespace tarnlex
