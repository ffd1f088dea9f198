// A directory of its own for one test, gone with it.
#pragma once

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <string_view>

namespace tarnlex {

struct TempDirectory {
  std::string path;
  TempDirectory() {
    std::string name = (std::filesystem::temp_directory_path() / "tarnlex_XXXXXX").string();
    if (mkdtemp(name.data()) != nullptr) path = name;
    EXPECT_FALSE(path.empty());
  }
  TempDirectory(const TempDirectory&) = delete;
  TempDirectory& operator=(const TempDirectory&) = delete;
  ~TempDirectory() {
    std::error_code ignored;
    if (!path.empty()) std::filesystem::remove_all(path, ignored);
  }

  // The path of a file below the directory, written with its parents.
  std::string AddFile(const std::string& name, std::string_view content) const {
    const std::filesystem::path file = std::filesystem::path(path) / name;
    std::filesystem::create_directories(file.parent_path());
    std::ofstream(file, std::ios::binary) << content;
    return file.string();
  }
};

inline std::string ReadFile(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), {}};
}

// The file header of a log without any chunk.
inline std::string EmptyEvtx() {
  std::string bytes(4096, '\0');
  return bytes.replace(0, 7, "ElfFile");
}

inline std::string EmptyEvt() {
  std::string bytes(48, '\0');
  bytes[0] = 0x30;
  return bytes.replace(4, 4, "LfLe");
}

}  // namespace tarnlex
