#include "tests/end_to_end/golden_case.h"

#include <stdexcept>

#include "tests/end_to_end/in_process.h"
#include "tests/end_to_end/sample_files.h"

namespace tarnlex {
namespace {

constexpr std::string_view kRightsWarning = "... running w/o admin privileges ...\n";

std::string_view TakeLine(std::string_view& text) {
  const std::size_t end = std::min(text.find('\n'), text.size());
  const std::string_view line = text.substr(0, end);
  text.remove_prefix(std::min(end + 1, text.size()));
  return line;
}

// Words of a call: blanks separate, single and double quotes keep together.
std::vector<std::string> SplitWords(std::string_view line) {
  std::vector<std::string> words;
  bool inside = false;
  char quote = '\0';
  for (const char c : line) {
    if (quote != '\0' ? c == quote : c == '\'' || c == '"') {
      quote = quote != '\0' ? '\0' : c;
      if (!inside) words.emplace_back();
      inside = true;
    } else if (c == ' ' && quote == '\0') {
      inside = false;
    } else {
      if (!inside) words.emplace_back();
      inside = true;
      words.back() += c;
    }
  }
  return words;
}

std::string Unescape(std::string_view line) {
  std::string text;
  for (std::size_t at = 0; at < line.size(); ++at) {
    if (line[at] != '\\' || at + 1 == line.size()) {
      text += line[at];
    } else if (line[++at] == 'c') {
      return text;
    } else if (line[at] == 'r') {
      text += '\r';
    } else if (line[at] == 'x') {
      text += static_cast<char>(std::stoi(std::string(line.substr(at + 1, 2)), nullptr, 16));
      at += 2;
    } else {
      text.append(1, '\\').append(1, line[at]);
    }
  }
  return text + '\n';
}

void AppendUnseen(std::string& to, char c, std::size_t count) {
  constexpr std::string_view kDigits = "0123456789ABCDEF";
  const auto byte = static_cast<unsigned char>(c);
  to.append("<0x").append(1, kDigits[byte >> 4]).append(1, kDigits[byte & 15]);
  if (count > 1) to.append(" x").append(std::to_string(count));
  to += '>';
}

std::string Visible(std::string_view text) {
  std::string out;
  for (std::size_t at = 0; at < text.size();) {
    const char c = text[at];
    std::size_t same = at + 1;
    while (same < text.size() && text[same] == c) ++same;
    const bool line_end = same == text.size() || text[same] == '\n';
    if (c == '\n' || (c == ' ' ? !line_end : static_cast<unsigned char>(c) > 0x20)) {
      out.append(text.substr(at, same - at));
    } else {
      AppendUnseen(out, c, same - at);
    }
    at = same;
  }
  if (!text.empty() && text.back() != '\n') out += "<end>\n";
  return out;
}

// An account ends with when the run was made.
std::string WithoutTimesOfRun(std::string text) {
  for (const std::string_view name : {"\"began\":\"", "\"ended\":\""}) {
    const std::size_t at = text.find(name);
    if (at == std::string::npos) continue;
    const std::size_t from = at + name.size();
    text.replace(from, text.find('"', from) - from, "<time>");
  }
  return Visible(text);
}

// A run header says when and where the run was made; what it says has tests of its own.
std::string WithoutRunHeader(std::string_view text) {
  if (text.starts_with("{\"type\":\"log\"")) return WithoutTimesOfRun(std::string(text));
  if (!text.starts_with("tarnlex ver: ")) return Visible(text);
  return "<run header>\n" + Visible(BehindRunHeader(text));
}

std::map<std::string, std::string> FilesBelow(const std::string& directory) {
  std::map<std::string, std::string> files;
  for (const auto& entry : std::filesystem::recursive_directory_iterator(directory)) {
    const std::string name = entry.path().lexically_relative(directory).generic_string();
    if (entry.is_regular_file()) files[name] = ReadFile(entry.path().string());
  }
  return files;
}

}  // namespace

GoldenCase ParseGoldenCase(std::string_view text) {
  GoldenCase golden;
  std::string* given = nullptr;
  const std::string_view whole = text;
  while (!text.empty() && !text.starts_with("--- exit")) {
    const std::string_view line = TakeLine(text);
    if (line.starts_with("--- given ")) {
      given = &golden.given[std::string(line.substr(10))];
    } else if (given != nullptr) {
      given->append(line).append("\n");
    } else if (line.starts_with("$ tarnlex")) {
      golden.args = SplitWords(line.substr(9));
    } else if (line.starts_with("< ")) {
      golden.input += Unescape(line.substr(2));
    } else if (!line.starts_with("#")) {
      throw std::runtime_error("neither comment, call nor input: " + std::string(line));
    }
  }
  golden.head = whole.substr(0, whole.size() - text.size());
  golden.expected = text;
  if (golden.head.find("$ tarnlex") == std::string::npos) throw std::runtime_error("no call");
  return golden;
}

std::string RunGoldenCase(const GoldenCase& golden) {
  const TempDirectory directory;
  WriteSampleFiles(directory.path);
  for (const auto& [name, content] : golden.given) directory.AddFile(name, content);
  const auto before = FilesBelow(directory.path);
  const Outcome outcome = RunIn(directory.path, golden.args, golden.input);

  std::string_view err = outcome.err;
  if (err.starts_with(kRightsWarning)) err.remove_prefix(kRightsWarning.size());
  std::string result = "--- exit " + std::to_string(outcome.code) + "\n--- stdout\n" +
                       WithoutRunHeader(outcome.out) + "--- stderr\n" + WithoutRunHeader(err);
  const auto after = FilesBelow(directory.path);
  for (const auto& [name, content] : after) {
    const auto old = before.find(name);
    if (old != before.end() && old->second == content) continue;
    result.append("--- file ").append(name).append("\n").append(WithoutRunHeader(content));
  }
  for (const auto& [name, content] : before) {
    if (!after.contains(name)) result.append("--- removed ").append(name).append("\n");
  }
  return result;
}

}  // namespace tarnlex
