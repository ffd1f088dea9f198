// make_large_log SOURCE OUT SIZE_MB: repeats the chunks of an EVTX file, or the records of an EVT
// file, until OUT has at least SIZE_MB MiB. Chunks are self-contained and records are renumbered,
// so the result is a sound log whose events recur; its header tells of its new length.
#include <fstream>
#include <iostream>
#include <vector>

#include "tests/support/log_of_chunks.h"
#include "tests/support/put_bytes.h"

namespace tarnlex::support {
namespace {

constexpr std::uint32_t kEvtHeader = 48;
constexpr std::uint32_t kEvtFixed = 56;

void Write(std::ofstream& out, const std::uint8_t* from, std::size_t size) {
  out.write(reinterpret_cast<const char*>(from), static_cast<std::streamsize>(size));
}

ByteString Numbers(const std::vector<std::uint32_t>& numbers) {
  ByteString bytes;
  for (const std::uint32_t number : numbers) PutU32(bytes, number);
  return bytes;
}

// The whole records of an EVT file, in file order.
std::vector<ByteString> EvtRecords(const ByteString& source) {
  std::vector<ByteString> records;
  for (std::size_t at = kEvtHeader; at + kEvtFixed <= source.size();) {
    const std::uint32_t length = GetU32(source, at);
    const bool whole = BeginsWith(source, at + 4, "LfLe") && length >= kEvtFixed &&
                       length % 4 == 0 && length <= source.size() - at;
    if (whole) records.emplace_back(source.begin() + at, source.begin() + at + length);
    at += whole ? length : 4;
  }
  return records;
}

bool WriteLargeEvt(const ByteString& source, const char* path, std::uint64_t megabytes) {
  std::vector<ByteString> records = EvtRecords(source);
  if (records.empty()) return false;
  std::ofstream out(path, std::ios::binary);
  out.seekp(kEvtHeader);
  std::uint32_t end = kEvtHeader;
  std::uint32_t next = 1;
  for (std::size_t i = 0; end < megabytes << 20; i = (i + 1) % records.size()) {
    SetU32(records[i], 8, next++);
    Write(out, records[i].data(), records[i].size());
    end += static_cast<std::uint32_t>(records[i].size());
  }
  const ByteString mark =
      Numbers({40, 0x11111111, 0x22222222, 0x33333333, 0x44444444, kEvtHeader, end, next, 1, 40});
  Write(out, mark.data(), mark.size());
  out.seekp(0);
  const ByteString header = Numbers(
      {kEvtHeader, 0x654C664C, 1, 1, kEvtHeader, end, next, 1, end + 40, 0, 604'800, kEvtHeader});
  Write(out, header.data(), header.size());
  out.close();
  return static_cast<bool>(out);
}

bool WriteLarge(const ByteString& source, const char* path, std::uint64_t megabytes) {
  return BeginsWith(source, 4, "LfLe")
             ? WriteLargeEvt(source, path, megabytes)
             : WriteLogOfChunks(path, source, ChunksOf(source), megabytes);
}

}  // namespace
}  // namespace tarnlex::support

int main(int argc, char** argv) {
  using namespace tarnlex::support;
  const auto megabytes = ParseMegabytes(argc == 4 ? argv[3] : "");
  if (!megabytes) {
    std::cerr << "usage: make_large_log SOURCE OUT SIZE_MB\n";
    return 2;
  }
  if (!WriteLarge(ReadAll(argv[1]), argv[2], *megabytes)) {
    std::cerr << "no chunks or records in " << argv[1] << ", or " << argv[2]
              << " cannot be written\n";
    return 1;
  }
  return 0;
}
