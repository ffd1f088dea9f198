#include "logs/log_content.h"

#include <array>

#include "logs/platform.h"
#include "logs/read_file.h"

namespace tarnlex {

LogContent ContentOf(Bytes head) {
  constexpr std::size_t kEvtSignatureAt = 4;
  if (head.size() < kContentBytes) return LogContent::kNone;
  if (BeginsWith(head, "ElfFile")) return LogContent::kEvtx;
  if (BeginsWith(head, "ElfChnk")) return LogContent::kChunks;
  return BeginsWith(head.subspan(kEvtSignatureAt), "LfLe") ? LogContent::kEvt : LogContent::kNone;
}

LogContent ContentOf(const InputFile& file, bool complete) {
  constexpr std::uint64_t kFirstChunk = 4096;
  std::array<std::uint8_t, kContentBytes> head{};
  const auto content_at = [&](std::uint64_t offset) {
    return ContentOf(Bytes(head).first(ReadFully(file, offset, head)));
  };
  const LogContent content = content_at(0);
  if (content != LogContent::kNone || !complete) return content;
  return content_at(kFirstChunk) == LogContent::kChunks ? LogContent::kEvtx : LogContent::kNone;
}

LogContent ContentOfFile(const std::string& path) {
  const auto file = OpenInput(path);
  return file ? ContentOf(*file, false) : LogContent::kNone;
}

}  // namespace tarnlex
