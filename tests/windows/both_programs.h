// Runs the program as built for this system and as built for Windows, under Wine, in one place with
// the same logs, and compares what they write.
#pragma once

#include <string>
#include <vector>

namespace tarnlex::windows {

struct Outcome {
  int code = 0;
  std::string out;
  std::string err;
};

using Args = std::vector<std::string>;

// The directory that both programs are started in. It holds "logs" (see sample_logs.h) and, while
// one of them runs, an empty "made" for their files. Made anew for each process, as is Wine's own
// directory next to it.
const std::string& WorkDirectory();
// Where Wine keeps drive C.
std::string DriveC();

// Starts the program in WorkDirectory() with `input` on standard input.
Outcome RunHere(const Args& args, const std::string& input = {});
Outcome RunOnWindows(const Args& args, const std::string& input = {});
// Starts another program of Wine's: its own by name, ours by path. What Wine itself ends is started
// again, and said on standard error.
Outcome RunInWine(const std::string& program, const Args& args, const std::string& input = {});
// The same on a terminal, so that the program has a console. `out` is what the terminal got.
Outcome RunOnTerminal(const std::string& program, const Args& args);

// The Windows program, and the one that makes circumstances for it.
std::string WindowsProgram();
std::string WindowsProbe();
// A path of this system as Wine's programs know it.
std::string WindowsPath(std::string path);

// Without what tells one run or system from another: time, machine, the program's path, the remark
// on missing rights.
std::string Comparable(std::string text);
std::string WithWindowsLines(const std::string& text);
std::string ReplaceAll(std::string text, const std::string& from, const std::string& to);

// Fails the test at the first difference of two texts.
void ExpectSame(const std::string& what, const std::string& windows, const std::string& here);

// Runs both, compares exit codes, streams and every file below "made"; line ends are those of each
// system. Returns what the program did here; the files of the two stay in "made_here" and
// "made_on_windows" until the next call.
Outcome CompareRuns(const Args& args, const std::string& input = {});

std::string ReadAll(const std::string& path);
void WriteAll(const std::string& path, const std::string& content);

}  // namespace tarnlex::windows
