// make_large_log SOURCE.evtx OUT SIZE_MB: repeats the chunks of an EVTX file until OUT has at least
// SIZE_MB MiB. Chunks are self-contained, so the result is a sound log whose records recur; the
// file header tells of its new length.
#include <algorithm>
#include <fstream>
#include <iostream>
#include <iterator>
#include <string>
#include <string_view>
#include <vector>

#include "tests/support/breakers.h"

namespace tarnlex::support {
namespace {

ByteString ReadAll(const char* path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

bool BeginsWith(const ByteString& bytes, std::size_t at, std::string_view magic) {
  return at + magic.size() <= bytes.size() &&
         std::string_view(reinterpret_cast<const char*>(bytes.data()) + at, magic.size()) == magic;
}

std::vector<std::size_t> ChunkOffsets(const ByteString& source) {
  std::vector<std::size_t> offsets;
  for (std::size_t at = kEvtxHeaderSize; at + kEvtxChunkSize <= source.size();
       at += kEvtxChunkSize) {
    if (BeginsWith(source, at, "ElfChnk")) offsets.push_back(at);
  }
  return offsets;
}

ByteString HeaderFor(const ByteString& source, std::uint64_t chunks) {
  ByteString header(source.begin(), source.begin() + kEvtxHeaderSize);
  SetU64(header, 8, 0);
  SetU64(header, 16, chunks - 1);
  // The count has 16 bits only; logs of 4 GiB and more let it run over.
  SetU16(header, 42, static_cast<std::uint16_t>(chunks));
  SetU32(header, 120, 0);  // neither dirty nor full
  FixChecksums(header);
  return header;
}

bool WriteLarge(const ByteString& source, const char* path, std::uint64_t megabytes) {
  const std::vector<std::size_t> offsets = ChunkOffsets(source);
  if (offsets.empty() || !BeginsWith(source, 0, "ElfFile")) return false;
  const std::uint64_t chunks = std::max<std::uint64_t>(megabytes * 16, 1);
  std::ofstream out(path, std::ios::binary);
  const auto write = [&out](const std::uint8_t* from, std::size_t size) {
    out.write(reinterpret_cast<const char*>(from), static_cast<std::streamsize>(size));
  };
  write(HeaderFor(source, chunks).data(), kEvtxHeaderSize);
  for (std::uint64_t i = 0; i < chunks; ++i) {
    write(source.data() + offsets[i % offsets.size()], kEvtxChunkSize);
  }
  out.close();
  return static_cast<bool>(out);
}

}  // namespace
}  // namespace tarnlex::support

int main(int argc, char** argv) {
  using namespace tarnlex::support;
  const std::string size = argc == 4 ? argv[3] : "";
  if (size.empty() || size.size() > 6 || size.find_first_not_of("0123456789") != size.npos) {
    std::cerr << "usage: make_large_log SOURCE.evtx OUT SIZE_MB\n";
    return 2;
  }
  if (!WriteLarge(ReadAll(argv[1]), argv[2], std::stoul(size))) {
    std::cerr << "no chunks in " << argv[1] << ", or " << argv[2] << " cannot be written\n";
    return 1;
  }
  return 0;
}
