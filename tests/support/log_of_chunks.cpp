#include "tests/support/log_of_chunks.h"

#include <algorithm>
#include <fstream>
#include <iterator>
#include <utility>

#include "tests/support/breakers.h"

namespace tarnlex::support {
namespace {

constexpr std::size_t kLastNumber = 16;  // of a chunk; all ones when it is empty

ByteString HeaderFor(ByteString header, std::uint64_t chunks) {
  header.resize(kEvtxHeaderSize);
  SetU64(header, 8, 0);
  SetU64(header, 16, chunks - 1);
  // The count has 16 bits only; logs of 4 GiB and more let it run over.
  SetU16(header, 42, static_cast<std::uint16_t>(chunks));
  SetU32(header, 120, 0);  // neither dirty nor full
  FixChecksums(header);
  return header;
}

void Write(std::ofstream& out, const ByteString& bytes) {
  out.write(reinterpret_cast<const char*>(bytes.data()),
            static_cast<std::streamsize>(bytes.size()));
}

}  // namespace

ByteString ReadAll(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

bool BeginsWith(const ByteString& bytes, std::size_t at, std::string_view magic) {
  return at + magic.size() <= bytes.size() &&
         std::string_view(reinterpret_cast<const char*>(bytes.data()) + at, magic.size()) == magic;
}

std::vector<ByteString> ChunksOf(const ByteString& log) {
  std::vector<ByteString> chunks;
  if (!BeginsWith(log, 0, "ElfFile")) return chunks;
  for (std::size_t at = kEvtxHeaderSize; at + kEvtxChunkSize <= log.size(); at += kEvtxChunkSize) {
    const auto begin = log.begin() + static_cast<std::ptrdiff_t>(at);
    if (BeginsWith(log, at, "ElfChnk")) chunks.emplace_back(begin, begin + kEvtxChunkSize);
  }
  return chunks;
}

bool HoldsRecords(const ByteString& chunk) {
  constexpr std::uint32_t kNone = 0xFFFF'FFFF;
  const bool empty = GetU32(chunk, kLastNumber) == kNone && GetU32(chunk, kLastNumber + 4) == kNone;
  return !empty && BeginsWith(chunk, kEvtxFirstRecord, std::string_view("**\0\0", 4));
}

bool WriteLogOfChunks(const std::string& path, ByteString header,
                      const std::vector<ByteString>& chunks, std::uint64_t megabytes) {
  if (chunks.empty()) return false;
  const std::uint64_t count = std::max<std::uint64_t>(megabytes * 16, 1);
  std::ofstream out(path, std::ios::binary);
  Write(out, HeaderFor(std::move(header), count));
  for (std::uint64_t i = 0; i < count; ++i) Write(out, chunks[i % chunks.size()]);
  out.close();
  return static_cast<bool>(out);
}

std::optional<std::uint64_t> ParseMegabytes(std::string_view text) {
  if (text.empty() || text.size() > 6) return std::nullopt;
  if (text.find_first_not_of("0123456789") != text.npos) return std::nullopt;
  return std::stoul(std::string(text));
}

}  // namespace tarnlex::support
