#include "reports/command_file.h"

#include <cstdint>
#include <string>
#include <utility>

namespace tarnlex {

void ParseCommandText(std::string_view text, std::vector<TokenList>& lines) {
  constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";
  if (text.starts_with(kByteOrderMark)) text.remove_prefix(kByteOrderMark.size());
  while (!text.empty()) {
    const std::size_t end = text.find('\n');
    TokenList tokens;
    if (SplitCommandLine(text.substr(0, end), tokens)) lines.push_back(std::move(tokens));
    if (end == std::string_view::npos) return;
    text.remove_prefix(end + 1);
  }
}

void ReadCommandFile(const InputFile& file, std::vector<TokenList>& lines) {
  constexpr std::size_t kBlock = std::size_t{64} << 10;
  std::string text;
  while (true) {
    const std::size_t before = text.size();
    text.resize(before + kBlock);
    auto* at = reinterpret_cast<std::uint8_t*>(text.data() + before);
    const std::size_t got = file.read(before, {at, kBlock});
    text.resize(before + got);
    if (got == 0) break;
  }
  ParseCommandText(text, lines);
}

}  // namespace tarnlex
