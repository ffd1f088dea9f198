#include "tests/support/child_run.h"

#include <fcntl.h>
#include <malloc.h>
#include <signal.h>
#include <stdlib.h>
#include <sys/ioctl.h>
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

struct Terminal {
  int master = -1;
  int slave = -1;
};

Terminal OpenTerminal(unsigned short columns) {
  Terminal terminal;
  terminal.master = posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC);
  if (terminal.master < 0 || grantpt(terminal.master) != 0 || unlockpt(terminal.master) != 0) {
    throw std::runtime_error("no pseudo-terminal");
  }
  terminal.slave = OpenOrThrow(ptsname(terminal.master), O_RDWR | O_NOCTTY);
  // What the program sends must arrive as it is.
  termios settings{};
  tcgetattr(terminal.slave, &settings);
  cfmakeraw(&settings);
  tcsetattr(terminal.slave, TCSANOW, &settings);
  const winsize size{.ws_row = 25, .ws_col = columns, .ws_xpixel = 0, .ws_ypixel = 0};
  ioctl(terminal.master, TIOCSWINSZ, &size);
  return terminal;
}

// Everything that comes until nobody writes any more.
std::string ReadToEnd(int file) {
  std::string text;
  char block[4096];
  for (ssize_t got = 0; (got = read(file, block, sizeof block)) > 0;) {
    text.append(block, static_cast<std::size_t>(got));
  }
  close(file);
  return text;
}

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
  const Terminal terminal = OpenTerminal(0);
  const pid_t child =
      Start(program, args, OpenOrThrow("/dev/null", O_RDONLY), terminal.slave, err.file);
  shown = ReadToEnd(terminal.master);
  ChildRun run = WaitFor(child);
  run.err = err.Take();
  return run;
}

ChildRun RunWatched(const std::string& program, const std::vector<std::string>& args,
                    unsigned short columns, std::string& shown, const std::string& out,
                    const std::string& in) {
  const Terminal terminal = OpenTerminal(columns);
  const pid_t child = Start(program, args, OpenOrThrow(in, O_RDONLY),
                            OpenOrThrow(out, O_WRONLY | O_CREAT | O_TRUNC), terminal.slave);
  shown = ReadToEnd(terminal.master);
  return WaitFor(child);
}

ChildRun RunAndInterrupt(const std::string& program, const std::vector<std::string>& args,
                         std::size_t after, std::string& printed, bool twice) {
  const ErrorFile err;
  int ends[2];
  if (pipe2(ends, O_CLOEXEC) != 0) throw std::runtime_error("no pipe");
  const pid_t child =
      Start(program, args, OpenOrThrow("/dev/null", O_RDONLY), ends[1], dup(err.file));
  printed.clear();
  char byte = 0;
  while (printed.size() < after && read(ends[0], &byte, 1) == 1) printed += byte;
  kill(child, SIGINT);
  if (twice) {
    // Until the first one has been noted both would count as one.
    usleep(100'000);
    kill(child, SIGINT);
  } else {
    printed += ReadToEnd(ends[0]);
  }
  ChildRun run = WaitFor(child);
  if (twice) close(ends[0]);
  close(err.file);
  run.err = err.Take();
  return run;
}

}  // namespace tarnlex::support
