#include "tests/support/other_reader.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <memory>
#include <stdexcept>

namespace tarnlex::support {
namespace {

std::string OutputOf(const std::string& command) {
  struct Close {
    void operator()(FILE* pipe) const { pclose(pipe); }
  };
  const std::unique_ptr<FILE, Close> pipe(popen(command.c_str(), "r"));
  if (!pipe) throw std::runtime_error("cannot run " + command);
  std::string output;
  char block[4096];
  while (const std::size_t got = std::fread(block, 1, sizeof block, pipe.get())) {
    output.append(block, got);
  }
  return output;
}

std::string TemporaryDirectory() {
  std::string pattern = (std::filesystem::temp_directory_path() / "tarnlex-XXXXXX").string();
  if (mkdtemp(pattern.data()) == nullptr) throw std::runtime_error("no temporary directory");
  return pattern;
}

}  // namespace

std::optional<std::string> ReadWithOther(const std::string& command, const ByteString& log) {
  const std::string program = command.substr(0, command.find(' '));
  if (OutputOf("command -v " + program).empty()) return std::nullopt;
  const std::string directory = TemporaryDirectory();
  const std::string path = directory + "/log";
  std::ofstream(path, std::ios::binary)
      .write(reinterpret_cast<const char*>(log.data()), static_cast<std::streamsize>(log.size()));
  std::string output = OutputOf(command + " " + path + " 2>&1");
  std::filesystem::remove_all(directory);
  if (output.size() < 2) return output;
  return output.substr(std::min(output.find("\n\n"), output.size() - 2) + 2);
}

}  // namespace tarnlex::support
