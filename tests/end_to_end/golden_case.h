// One case of tests/golden: a call of the program and everything that comes of it.
//
//   # Why the case exists.
//   $ tarnlex -log Security.evtx -csv 'a value with blanks'
//   < a line of standard input
//   --- given report.txt
//   a file that is there before the run
//   --- exit 0
//   --- stdout
//   <run header>
//   ...
//   --- stderr
//   ...
//   --- file out/Security.evtx.csv
//   ...
//   --- removed out/System.evtx.csv
//
// Bytes that a reader would not see stand as "<0x08 x80>": control characters, and blanks at the
// end of a line. "<end>" stands where a text ends without a line feed. Lines of standard input end
// in "\n" unless they close with "\c" (no line end) and may hold "\r" and "\xNN" escapes.
#pragma once

#include <map>
#include <string>
#include <string_view>
#include <vector>

namespace tarnlex {

struct GoldenCase {
  std::string head;  // comment, call, input and given files, as they stand
  std::vector<std::string> args;
  std::string input;
  std::map<std::string, std::string> given;
  std::string expected;  // from "--- exit" on
};

// Throws std::runtime_error for a case that cannot be read.
GoldenCase ParseGoldenCase(std::string_view text);

// Makes the files of the samples and the given ones in a directory of its own, calls the program
// there and renders its exit code, its two streams and every file that it made, changed or removed.
std::string RunGoldenCase(const GoldenCase& golden);

}  // namespace tarnlex
