// The whole program, run inside the test process with texts in place of the console's streams.
#pragma once

#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

#include "app/run.h"
#include "tests/app/temp_directory.h"
#include "tests/support/console_input.h"

namespace tarnlex {

struct Outcome {
  int code = 0;
  std::string out;
  std::string err;
};

// Runs in `directory`, so that relative paths lead into it. `args` without the program's name.
inline Outcome RunIn(const std::string& directory, std::vector<std::string> args,
                     std::string_view input = {}) {
  const std::filesystem::path before = std::filesystem::current_path();
  std::filesystem::current_path(directory);
  Outcome outcome;
  Console console;
  console.out = MakeStringSink(outcome.out);
  console.err = MakeStringSink(outcome.err);
  console.read_input = support::InputOf(std::string(input));
  args.insert(args.begin(), "tarnlex");
  outcome.code = RunApp(args, console);
  std::filesystem::current_path(before);
  return outcome;
}

// What follows the header of a run; the header is three lines and an empty one.
inline std::string_view BehindRunHeader(std::string_view text) {
  EXPECT_TRUE(text.starts_with("tarnlex ver: 0.33\nrun time: ")) << text.substr(0, 200);
  for (int line = 0; line < 4; ++line) {
    const std::size_t end = text.find('\n');
    text.remove_prefix(end == std::string_view::npos ? text.size() : end + 1);
  }
  return text;
}

}  // namespace tarnlex
