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

LogContent ContentOfFile(const std::string& path) {
  const auto file = OpenInput(path);
  if (!file) return LogContent::kNone;
  std::array<std::uint8_t, kContentBytes> head{};
  return ContentOf(Bytes(head).first(ReadFully(*file, 0, head)));
}

}  // namespace tarnlex
