// The program as a process of its own, for what only a process has: its time, its memory, its
// streams.
#pragma once

#include <string>
#include <vector>

namespace tarnlex::support {

struct ChildRun {
  int exit_code = -1;  // -1 also when it did not end by itself
  int signal = 0;      // that ended it
  double seconds = 0;  // of processor time
  long peak_kib = 0;   // of memory
  std::string err;     // its standard error
};

// Runs `program` with `args`; standard output goes to the file `out`. Standard input is the file
// `in`, when one is named.
ChildRun RunChild(const std::string& program, const std::vector<std::string>& args,
                  const std::string& out = "/dev/null", const std::string& in = "/dev/null");

// The same with a terminal as standard output; `shown` gets everything that it was sent.
ChildRun RunOnTerminal(const std::string& program, const std::vector<std::string>& args,
                       std::string& shown);

}  // namespace tarnlex::support
