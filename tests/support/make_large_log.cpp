// make_large_log SOURCE OUT SIZE_MB: repeats the chunks of an EVTX file, or the records of an EVT
// file, until OUT has at least SIZE_MB MiB. Chunks are self-contained and records are renumbered,
// so the result is a sound log whose events recur; its header tells of its new length.
#include <algorithm>
#include <fstream>
#include <iostream>
#include <iterator>
#include <string>
#include <string_view>
#include <vector>

#include "tests/support/breakers.h"
#include "tests/support/put_bytes.h"

namespace tarnlex::support {
namespace {

constexpr std::uint32_t kEvtHeader = 48;
constexpr std::uint32_t kEvtFixed = 56;

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

void Write(std::ofstream& out, const std::uint8_t* from, std::size_t size) {
  out.write(reinterpret_cast<const char*>(from), static_cast<std::streamsize>(size));
}

bool WriteLargeEvtx(const ByteString& source, const char* path, std::uint64_t megabytes) {
  const std::vector<std::size_t> offsets = ChunkOffsets(source);
  if (offsets.empty() || !BeginsWith(source, 0, "ElfFile")) return false;
  const std::uint64_t chunks = std::max<std::uint64_t>(megabytes * 16, 1);
  std::ofstream out(path, std::ios::binary);
  Write(out, HeaderFor(source, chunks).data(), kEvtxHeaderSize);
  for (std::uint64_t i = 0; i < chunks; ++i) {
    Write(out, source.data() + offsets[i % offsets.size()], kEvtxChunkSize);
  }
  out.close();
  return static_cast<bool>(out);
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
  return BeginsWith(source, 4, "LfLe") ? WriteLargeEvt(source, path, megabytes)
                                       : WriteLargeEvtx(source, path, megabytes);
}

}  // namespace
}  // namespace tarnlex::support

int main(int argc, char** argv) {
  using namespace tarnlex::support;
  const std::string size = argc == 4 ? argv[3] : "";
  if (size.empty() || size.size() > 6 || size.find_first_not_of("0123456789") != size.npos) {
    std::cerr << "usage: make_large_log SOURCE OUT SIZE_MB\n";
    return 2;
  }
  if (!WriteLarge(ReadAll(argv[1]), argv[2], std::stoul(size))) {
    std::cerr << "no chunks or records in " << argv[1] << ", or " << argv[2]
              << " cannot be written\n";
    return 1;
  }
  return 0;
}
