#include "reports/command_file.h"

#include <cstdint>
#include <optional>
#include <string>
#include <utility>

#include "logs/messages.h"

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

std::vector<TokenList> LoadCommandFile(const RunOptions& options, TextSink& messages) {
  std::vector<TokenList> lines;
  if (!options.have_cmd_file) return lines;
  const std::optional<InputFile> file = OpenInput(options.cmd_file);
  if (!file) {
    Say(messages, "prob opening command file ", options.cmd_file, ", skipping\n");
    return lines;
  }
  ReadCommandFile(*file, lines);
  // A text of two bytes a character, as some editors save them, looks like this too.
  if (lines.empty()) {
    Say(messages, "no !cmd line in command file ", options.cmd_file, ", skipping\n");
  }
  return lines;
}

}  // namespace tarnlex
