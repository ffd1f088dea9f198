// make_mixed_log FOLDER OUT SIZE_MB: one log of the chunks of all EVTX files below FOLDER,
// shuffled, and repeated until OUT has at least SIZE_MB MiB. That is what a collector of many hosts
// and channels holds, where templates and kinds of events change from chunk to chunk. The same
// folder gives the same bytes on every machine.
#include <algorithm>
#include <filesystem>
#include <iostream>
#include <random>
#include <utility>

#include "tests/support/evtx_builder.h"
#include "tests/support/log_of_chunks.h"

namespace tarnlex::support {
namespace {

// Paths below the folder, in the order of their bytes; links to folders are not followed.
std::vector<std::string> FilesBelow(const std::filesystem::path& folder) {
  std::vector<std::string> paths;
  std::error_code error;
  for (const auto& entry : std::filesystem::recursive_directory_iterator(folder, error)) {
    if (!entry.is_regular_file()) continue;
    paths.push_back(entry.path().lexically_relative(folder).generic_string());
  }
  std::sort(paths.begin(), paths.end());
  return paths;
}

std::vector<ByteString> ChunksBelow(const std::filesystem::path& folder) {
  std::vector<ByteString> chunks;
  for (const std::string& path : FilesBelow(folder)) {
    for (ByteString& chunk : ChunksOf(ReadAll((folder / path).string()))) {
      if (HoldsRecords(chunk)) chunks.push_back(std::move(chunk));
    }
  }
  return chunks;
}

// The library's own shuffle may differ between libraries; what the engine gives may not.
void Shuffle(std::vector<ByteString>& chunks) {
  std::mt19937_64 random(1);
  for (std::size_t left = chunks.size(); left > 1; --left) {
    std::swap(chunks[left - 1], chunks[random() % left]);
  }
}

}  // namespace
}  // namespace tarnlex::support

int main(int argc, char** argv) {
  using namespace tarnlex::support;
  const auto megabytes = ParseMegabytes(argc == 4 ? argv[3] : "");
  if (!megabytes) {
    std::cerr << "usage: make_mixed_log FOLDER OUT SIZE_MB\n";
    return 2;
  }
  std::vector<ByteString> chunks = ChunksBelow(argv[1]);
  Shuffle(chunks);
  if (!WriteLogOfChunks(argv[2], EvtxBuilder().Build(), chunks, *megabytes)) {
    std::cerr << "no chunks below " << argv[1] << ", or " << argv[2] << " cannot be written\n";
    return 1;
  }
  return 0;
}
