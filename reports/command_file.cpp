#include "reports/command_file.h"

#include <algorithm>
#include <cstdint>
#include <string>
#include <utility>

#include "logs/messages.h"

namespace tarnlex {

std::vector<std::string_view> CommandFileLines(std::string_view text) {
  constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";
  if (text.starts_with(kByteOrderMark)) text.remove_prefix(kByteOrderMark.size());
  std::vector<std::string_view> lines;
  while (!text.empty()) {
    const std::size_t end = std::min(text.find('\n'), text.size());
    lines.push_back(text.substr(0, end));
    text.remove_prefix(std::min(end + 1, text.size()));
  }
  return lines;
}

void ParseCommandText(std::string_view text, std::vector<TokenList>& lines) {
  for (const std::string_view line : CommandFileLines(text)) {
    TokenList tokens;
    if (SplitCommandLine(line, tokens)) lines.push_back(std::move(tokens));
  }
}

std::string ReadCommandFile(const InputFile& file) {
  constexpr std::size_t kBlock = std::size_t{64} << 10;
  std::string text;
  while (true) {
    const std::size_t before = text.size();
    text.resize(before + kBlock);
    auto* at = reinterpret_cast<std::uint8_t*>(text.data() + before);
    const std::size_t got = file.read(before, {at, kBlock});
    text.resize(before + got);
    if (got == 0) return text;
  }
}

std::optional<std::string> LoadCommandFile(const RunOptions& options) {
  if (!options.have_cmd_file) return std::nullopt;
  const std::optional<InputFile> file = OpenInput(options.cmd_file);
  if (!file) return std::nullopt;
  return ReadCommandFile(*file);
}

std::vector<TokenList> CommandsOf(const RunOptions& options, const std::optional<std::string>& text,
                                  TextSink& messages) {
  std::vector<TokenList> lines;
  if (!options.have_cmd_file) return lines;
  if (!text) {
    Say(messages, "prob opening command file ", options.cmd_file, ", skipping\n");
    return lines;
  }
  ParseCommandText(*text, lines);
  // A text of two bytes a character, as some editors save them, looks like this too.
  if (lines.empty()) {
    Say(messages, "no !cmd line in command file ", options.cmd_file, ", skipping\n");
  }
  return lines;
}

}  // namespace tarnlex
