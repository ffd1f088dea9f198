#include "tests/support/child_run.h"

#include <fcntl.h>
#include <malloc.h>
#include <stdlib.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <termios.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <stdexcept>

namespace tarnlex::support {
namespace {

int OpenOrThrow(const std::string& path, int flags) {
  const int file = open(path.c_str(), flags | O_CLOEXEC, 0666);
  if (file < 0) throw std::runtime_error("cannot open " + path);
  return file;
}

// Starts the program with the given streams and closes the writing ends here.
pid_t Start(const std::string& program, const std::vector<std::string>& args, int in, int out,
            int err) {
  std::vector<char*> pointers{const_cast<char*>(program.c_str())};
  for (const std::string& arg : args) pointers.push_back(const_cast<char*>(arg.c_str()));
  pointers.push_back(nullptr);
  // A child's peak begins with what this process has in memory at this moment.
  malloc_trim(0);
  const pid_t child = fork();
  if (child < 0) throw std::runtime_error("cannot start " + program);
  if (child == 0) {
    dup2(in, STDIN_FILENO);
    dup2(out, STDOUT_FILENO);
    dup2(err, STDERR_FILENO);
    execv(program.c_str(), pointers.data());
    _exit(127);
  }
  close(in);
  close(out);
  close(err);
  return child;
}

double Seconds(const timeval& time) {
  return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_usec) / 1e6;
}

ChildRun WaitFor(pid_t child) {
  ChildRun run;
  int status = 0;
  rusage usage{};
  wait4(child, &status, 0, &usage);
  if (WIFEXITED(status)) run.exit_code = WEXITSTATUS(status);
  if (WIFSIGNALED(status)) run.signal = WTERMSIG(status);
  run.seconds = Seconds(usage.ru_utime) + Seconds(usage.ru_stime);
  run.peak_kib = usage.ru_maxrss;
  return run;
}

// Standard error goes to a file, so that it can never block the child.
struct ErrorFile {
  std::string path = (std::filesystem::temp_directory_path() / "tarnlex_err_XXXXXX").string();
  int file = mkstemp(path.data());
  std::string Take() const {
    std::ifstream in(path, std::ios::binary);
    std::string text{std::istreambuf_iterator<char>(in), {}};
    std::filesystem::remove(path);
    return text;
  }
};

}  // namespace

ChildRun RunChild(const std::string& program, const std::vector<std::string>& args,
                  const std::string& out, const std::string& in) {
  const ErrorFile err;
  const pid_t child = Start(program, args, OpenOrThrow(in, O_RDONLY),
                            OpenOrThrow(out, O_WRONLY | O_CREAT | O_TRUNC), err.file);
  ChildRun run = WaitFor(child);
  run.err = err.Take();
  return run;
}

ChildRun RunOnTerminal(const std::string& program, const std::vector<std::string>& args,
                       std::string& shown) {
  const ErrorFile err;
  const int master = posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC);
  if (master < 0 || grantpt(master) != 0 || unlockpt(master) != 0) {
    throw std::runtime_error("no pseudo-terminal");
  }
  const int terminal = OpenOrThrow(ptsname(master), O_RDWR | O_NOCTTY);
  // What the program sends must arrive as it is.
  termios settings{};
  tcgetattr(terminal, &settings);
  cfmakeraw(&settings);
  tcsetattr(terminal, TCSANOW, &settings);
  const pid_t child = Start(program, args, OpenOrThrow("/dev/null", O_RDONLY), terminal, err.file);
  shown.clear();
  char block[4096];
  for (ssize_t got = 0; (got = read(master, block, sizeof block)) > 0;) {
    shown.append(block, static_cast<std::size_t>(got));
  }
  close(master);
  ChildRun run = WaitFor(child);
  run.err = err.Take();
  return run;
}

}  // namespace tarnlex::support
