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

void LoadCommandFile(RunOptions& options) {
  if (!options.have_cmd_file) return;
  const std::optional<InputFile> file = OpenInput(options.cmd_file);
  if (!file) {
    Say(options, "prob opening command file ", options.cmd_file, ", skipping\n");
    return;
  }
  ReadCommandFile(*file, options.command_lines);
  // A text of two bytes a character, as some editors save them, looks like this too.
  if (options.command_lines.empty()) {
    Say(options, "no !cmd line in command file ", options.cmd_file, ", skipping\n");
  }
}

}  // namespace tarnlex
