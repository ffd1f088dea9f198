#include "logs/output_guard.h"

#include <algorithm>
#include <array>

namespace tarnlex {

bool HoldsEventLog(const std::string& path) {
  const auto file = OpenInput(path);
  if (!file) return false;
  std::array<std::uint8_t, 8> head{};
  if (file->read(0, head) < head.size()) return false;
  const std::string_view text(reinterpret_cast<const char*>(head.data()), head.size());
  return text.starts_with("ElfFile") || text.starts_with("ElfChnk") || text.ends_with("LfLe");
}

bool IsSameFile(const std::string& path, const LogTable& logs, const std::string& other) {
  const auto id = IdentifyFile(path);
  if (!id) return false;
  return id == IdentifyFile(other) || std::any_of(logs.begin(), logs.end(), [&id](const auto& log) {
           return id == IdentifyFile(log.second.path);
         });
}

std::optional<std::function<bool(std::string_view)>> OpenGuardedOutput(const std::string& path,
                                                                       bool append) {
  if (HoldsEventLog(path)) return std::nullopt;
  return OpenOutput(path, append);
}

}  // namespace tarnlex
