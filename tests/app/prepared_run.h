// A run as far as its command line leads it before the first log, with everything said on the way.
#pragma once

#include <string>
#include <vector>

#include "app/prepare_run.h"
#include "tests/app/parsed_options.h"

namespace tarnlex {

struct PreparedRun {
  std::string said;
  TextSink nowhere;
  TextSink messages = MakeStringSink(said);
  CommandLine line;
  RunState run{messages, MakeRecordOutput(nowhere, messages)};
  bool prepared = false;

  explicit PreparedRun(std::vector<std::string> arguments) {
    arguments.insert(arguments.begin(), "/bin/tarnlex.exe");
    line = ReadCommandLine(std::move(arguments), kNow);
    prepared = PrepareRun(line, run);
    if (run.diags) Flush(*run.diags);
  }
  PreparedRun(const PreparedRun&) = delete;
  PreparedRun& operator=(const PreparedRun&) = delete;
};

}  // namespace tarnlex
