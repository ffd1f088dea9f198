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

// The same with a terminal of so many columns as standard error, and nothing in the way of `shown`.
// Standard output goes to the file `out`, standard input is the file `in`.
ChildRun RunWatched(const std::string& program, const std::vector<std::string>& args,
                    unsigned short columns, std::string& shown,
                    const std::string& out = "/dev/null", const std::string& in = "/dev/null");

// Runs the program with a pipe as standard output, and interrupts it once that gave so many bytes.
// The child waits for its reader then, if it has more to write than a pipe takes. `printed` gets
// all that came. `twice`: another interrupt follows, and nobody reads on.
ChildRun RunAndInterrupt(const std::string& program, const std::vector<std::string>& args,
                         std::size_t after, std::string& printed, bool twice = false);

}  // namespace tarnlex::support
