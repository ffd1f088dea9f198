#include "tests/windows/both_programs.h"

#include <gtest/gtest.h>
#include <sys/wait.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <iterator>
#include <map>

#include "tests/windows/sample_logs.h"

namespace tarnlex::windows {
namespace {

namespace fs = std::filesystem;

std::string Quoted(const std::string& argument) {
  return "'" + ReplaceAll(argument, "'", "'\\''") + "'";
}

std::string CommandLine(const std::string& program, const Args& args) {
  std::string line = Quoted(program);
  for (const std::string& argument : args) line += " " + Quoted(argument);
  return line;
}

std::string PlacePath(const char* name) { return std::string(TARNLEX_WINDOWS_PLACE) + "/" + name; }

int RunShell(const std::string& command) {
  const int status = std::system(command.c_str());
  return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

Outcome RunCommand(const std::string& command, const std::string& input) {
  const std::string in = PlacePath("in.txt");
  const std::string out = PlacePath("out.txt");
  const std::string err = PlacePath("err.txt");
  WriteAll(in, input);
  Outcome outcome;
  outcome.code = RunShell("cd " + Quoted(WorkDirectory()) + " && timeout 300 " + command + " <" +
                          Quoted(in) + " >" + Quoted(out) + " 2>" + Quoted(err));
  outcome.out = ReadAll(out);
  outcome.err = ReadAll(err);
  return outcome;
}

// Wine 8 on busy processors now and then ends a program by itself: with 1 before it wrote anything,
// or with 127 after all was written, when the dynamic loader finds itself in an inconsistent state.
// The program ends with 0 or -1 only, so these are not its own.
bool EndedByWine(int code) { return code == 1 || code == 127; }

constexpr int kWineTries = 3;

Outcome RunWineCommand(const std::string& command, const std::string& input) {
  WorkDirectory();
  for (int tries = 1;; ++tries) {
    Outcome outcome = RunCommand(command, input);
    if (!EndedByWine(outcome.code) || tries == kWineTries) return outcome;
    std::cerr << "Wine ended with " << outcome.code << " in try " << tries << " of " << command
              << ", which wrote " << outcome.out.size() << " bytes and on standard error:\n"
              << outcome.err << '\n';
  }
}

// Another Wine of the same user is none of our business.
bool wine_in_use = false;

// Wine without windows, messages and helpers that a console program has no use for.
void SetUpWine() {
  wine_in_use = true;
  unsetenv("DISPLAY");
  setenv("LC_ALL", "C.UTF-8", 1);
  setenv("WINEPREFIX", PlacePath("prefix").c_str(), 1);
  setenv("WINEDEBUG", "-all", 1);
  setenv("WINEDLLOVERRIDES", "mscoree,mshtml,winemenubuilder.exe=d", 1);
  const std::string log = PlacePath("wineboot.txt");
  const int code =
      RunShell("timeout 300 " TARNLEX_WINE " wineboot -i </dev/null >" + Quoted(log) + " 2>&1");
  EXPECT_EQ(code, 0) << ReadAll(log);
}

std::string MakeWorkDirectory() {
  std::error_code ignored;
  fs::remove_all(TARNLEX_WINDOWS_PLACE, ignored);
  const std::string directory = PlacePath("work");
  fs::create_directories(directory);
  WriteSampleLogs(directory + "/logs");
  SetUpWine();
  return directory;
}

// Ends what Wine keeps running for its directory, when all tests are done.
class WineEnd : public testing::Environment {
 public:
  void TearDown() override {
    if (wine_in_use) RunShell(TARNLEX_WINESERVER " -k >/dev/null 2>&1");
  }
};
const auto* const wine_end = testing::AddGlobalTestEnvironment(new WineEnd);

// Content by path below `directory`.
std::map<std::string, std::string> FilesBelow(const std::string& directory) {
  std::map<std::string, std::string> files;
  for (const auto& entry : fs::recursive_directory_iterator(directory)) {
    if (!entry.is_regular_file()) continue;
    files[fs::relative(entry.path(), directory).string()] = ReadAll(entry.path().string());
  }
  return files;
}

Outcome RunWithMade(Outcome (*run)(const Args&, const std::string&), const Args& args,
                    const std::string& input, const std::string& kept) {
  const std::string made = WorkDirectory() + "/made";
  fs::remove_all(made);
  fs::remove_all(WorkDirectory() + "/" + kept);
  fs::create_directory(made);
  Outcome outcome = run(args, input);
  fs::rename(made, WorkDirectory() + "/" + kept);
  return outcome;
}

}  // namespace

const std::string& WorkDirectory() {
  static const std::string directory = MakeWorkDirectory();
  return directory;
}

std::string DriveC() {
  WorkDirectory();
  return PlacePath("prefix") + "/drive_c";
}

Outcome RunHere(const Args& args, const std::string& input) {
  return RunCommand(CommandLine(TARNLEX_PROGRAM, args), input);
}

Outcome RunOnWindows(const Args& args, const std::string& input) {
  return RunInWine(WindowsProgram(), args, input);
}

Outcome RunInWine(const std::string& program, const Args& args, const std::string& input) {
  return RunWineCommand(TARNLEX_WINE " " + CommandLine(program, args), input);
}

Outcome RunOnTerminal(const std::string& program, const Args& args) {
  const std::string command =
      "stty cols 120 rows 100; " TARNLEX_WINE " " + CommandLine(program, args);
  return RunWineCommand("script -qec " + Quoted(command) + " /dev/null", "");
}

std::string WindowsProgram() { return TARNLEX_WINDOWS_BUILD "/tarnlex.exe"; }
std::string WindowsProbe() { return TARNLEX_WINDOWS_BUILD "/windows_probe.exe"; }

std::string WindowsPath(std::string path) {
  std::replace(path.begin(), path.end(), '/', '\\');
  return "Z:" + path;
}

std::string Comparable(std::string text) {
  text = ReplaceAll(std::move(text), WindowsPath(WindowsProgram()), "PROGRAM");
  text = ReplaceAll(std::move(text), TARNLEX_PROGRAM, "PROGRAM");
  for (const char* end : {"\r\n", "\n"}) {
    text =
        ReplaceAll(std::move(text), std::string("... running w/o admin privileges ...") + end, "");
  }
  const std::string run_line = "\nrun time: ";
  const std::size_t from = text.find(run_line);
  if (from == std::string::npos) return text;
  const std::size_t past = from + run_line.size();
  return text.erase(past, text.find_first_of("\r\n", past) - past);
}

std::string WithWindowsLines(const std::string& text) { return ReplaceAll(text, "\n", "\r\n"); }

std::string ReplaceAll(std::string text, const std::string& from, const std::string& to) {
  std::string replaced;
  std::size_t at = 0;
  for (std::size_t found; (found = text.find(from, at)) != std::string::npos;) {
    replaced.append(text, at, found - at).append(to);
    at = found + from.size();
  }
  return replaced.append(text, at);
}

void ExpectSame(const std::string& what, const std::string& windows, const std::string& here) {
  if (windows == here) return;
  constexpr std::size_t kContext = 200;
  const auto differ = std::mismatch(windows.begin(), windows.end(), here.begin(), here.end());
  const auto at = static_cast<std::size_t>(differ.first - windows.begin());
  const std::size_t from = at > kContext / 2 ? at - kContext / 2 : 0;
  ADD_FAILURE() << what << ": " << windows.size() << " bytes on Windows, " << here.size()
                << " expected, different at " << at
                << "\non Windows: " << testing::PrintToString(windows.substr(from, kContext))
                << "\nexpected:   " << testing::PrintToString(here.substr(from, kContext));
}

Outcome CompareRuns(const Args& args, const std::string& input) {
  Outcome here = RunWithMade(RunHere, args, input, "made_here");
  const Outcome windows = RunWithMade(RunOnWindows, args, input, "made_on_windows");
  EXPECT_EQ(windows.code, here.code);
  const auto expected = [](const std::string& text) { return WithWindowsLines(Comparable(text)); };
  ExpectSame("standard output", Comparable(windows.out), expected(here.out));
  ExpectSame("standard error", Comparable(windows.err), expected(here.err));
  auto files = FilesBelow(WorkDirectory() + "/made_on_windows");
  for (const auto& [name, content] : FilesBelow(WorkDirectory() + "/made_here")) {
    EXPECT_TRUE(files.contains(name)) << name;
    ExpectSame(name, Comparable(files[name]), expected(content));
    files.erase(name);
  }
  for (const auto& [name, content] : files) ADD_FAILURE() << "only on Windows: " << name;
  return here;
}

std::string ReadAll(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), {}};
}

void WriteAll(const std::string& path, const std::string& content) {
  fs::create_directories(fs::path(path).parent_path());
  std::ofstream file(path, std::ios::binary);
  file << content;
  ASSERT_TRUE(file.flush()) << path;
}

}  // namespace tarnlex::windows
