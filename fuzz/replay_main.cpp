// Runs saved inputs through a target without the fuzzer: files, or all files below folders. A
// finding ends the process the way it would end the fuzzer.
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <vector>

#include "fuzz/fuzz_target.h"

namespace {

int RunFile(const std::filesystem::path& path) {
  std::ifstream file(path, std::ios::binary);
  const std::vector<char> content{std::istreambuf_iterator<char>(file), {}};
  // A copy of exactly its size, so that a sanitizer sees a read behind it.
  const std::vector<std::uint8_t> bytes(content.begin(), content.end());
  return LLVMFuzzerTestOneInput(bytes.data(), bytes.size());
}

}  // namespace

int main(int argc, char** argv) {
  std::size_t inputs = 0;
  for (int i = 1; i < argc; ++i) {
    // The paths are gathered first: a target may change the working directory.
    std::vector<std::filesystem::path> paths;
    if (std::filesystem::is_directory(argv[i])) {
      for (const auto& entry : std::filesystem::recursive_directory_iterator(argv[i])) {
        if (entry.is_regular_file()) paths.push_back(std::filesystem::absolute(entry.path()));
      }
    } else {
      paths.push_back(std::filesystem::absolute(argv[i]));
    }
    for (const std::filesystem::path& path : paths) {
      if (!std::filesystem::is_regular_file(path) || RunFile(path) != 0) {
        std::fprintf(stderr, "cannot replay %s\n", path.c_str());
        return 1;
      }
      ++inputs;
    }
  }
  std::printf("%zu inputs\n", inputs);
  return inputs > 0 ? 0 : 1;
}
