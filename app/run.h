// One run of the program from its arguments to its exit code.
#pragma once

#include <cstddef>
#include <functional>
#include <span>
#include <string>
#include <vector>

#include "logs/text_sink.h"

namespace tarnlex {

// The streams of the process, or a test's stand-ins for them.
struct Console {
  TextSink out;                                            // run header and records
  TextSink err;                                            // every message
  std::function<std::size_t(std::span<char>)> read_input;  // standard input; gives 0 at the end
  // On a terminal, control characters are shown and not sent.
  bool out_is_terminal = false;
  bool err_is_terminal = false;
  std::size_t out_width = 0;  // characters a line of that terminal takes; 0: nobody knows
  // Whether a failed write to `out` means that nobody reads it any more.
  std::function<bool()> reader_gone = {};
  // Whether somebody wants the run to end before its work is done.
  std::function<bool()> interrupted = {};
  // Of the terminal behind `err`.
  std::function<std::size_t()> err_columns = {};
};

// What a run returns that was interrupted.
inline constexpr int kInterruptedRun = 130;

// `args` in UTF-8, the program's path first. Returns 0, or -1 after a problem that was named on
// `console.err`; with -strict 2 when logs were passed over or not all of one could be read. Both
// sinks are flushed; what `console.out` hands on to is the run's from now on. When the reader of
// `out` goes, records in files, statistics and diagnostics are written all the same. A run with
// nothing else to write ends as soon as it is noticed: without a word and with 0, or with -1 when
// none of the records was handed on.
// A run that is interrupted ends where it is: what was read until then is written, whole rows and
// streams closed as ever, but for rows of tables on a terminal, where the row that is being shown
// is the last one. It says how far it came, in its statistics and diagnostics too, and returns
// kInterruptedRun.
int RunApp(const std::vector<std::string>& args, Console& console);

}  // namespace tarnlex
