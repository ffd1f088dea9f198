#include "app/pipe_mode.h"

#include <algorithm>

#include "app/open_log.h"
#include "logs/messages.h"
#include "logs/paths.h"
#include "logs/platform.h"
#include "logs/status_line.h"

namespace tarnlex {
namespace {

constexpr std::size_t kLineBuffer = 4096;
constexpr std::size_t kMaxPiece = kLineBuffer - 1;

bool Refill(LineReader& reader) {
  reader.block.resize(kLineBuffer);
  reader.at = 0;
  reader.filled = reader.read ? reader.read(reader.block) : 0;
  return reader.filled > 0;
}

void CutLineEnd(std::string& line) {
  while (!line.empty() && (line.back() == '\r' || line.back() == '\n')) line.pop_back();
}

bool OpenPiped(const RunOptions& options, const std::string& path, LogInfo& log) {
  std::string directory;
  std::string name;
  log = {.path = path, .kind = {}, .opened = OpenResult::kCannotOpen};
  return SplitPath(path, directory, name) && OpenLog(log, path, JudgementOf(options));
}

void HandlePath(const RunOptions& options, const std::string& path, const LogSteps& steps,
                TextSink& messages) {
  LogInfo log;
  if (!OpenPiped(options, path, log)) {
    if (steps.pass_over) steps.pass_over(log);
    return;
  }
  if (steps.announce) {
    steps.announce(log);
  } else if (options.show_status) {
    Say(messages, StatusLine(AnalyzingText(path)));
  }
  steps.process(log);
  const bool cut = steps.cut && steps.cut();
  if (options.show_status && !cut) Say(messages, "processed log ", path, "\n");
  steps.finish();
}

}  // namespace

bool ReadPiece(LineReader& reader, std::string& piece) {
  piece.clear();
  while (piece.size() < kMaxPiece) {
    if (reader.at == reader.filled && !Refill(reader)) break;
    const auto from = reader.block.begin() + static_cast<std::ptrdiff_t>(reader.at);
    const std::size_t size = std::min(reader.filled - reader.at, kMaxPiece - piece.size());
    const auto end = from + static_cast<std::ptrdiff_t>(size);
    const auto feed = std::find(from, end, '\n');
    const auto stop = feed == end ? end : feed + 1;
    piece.append(from, stop);
    reader.at += static_cast<std::size_t>(stop - from);
    if (feed != end) break;
  }
  return !piece.empty();
}

void RunPipedLogs(const RunOptions& options, LineReader& reader, const LogSteps& steps,
                  TextSink& messages) {
  std::string line;
  while (ReadPiece(reader, line)) {
    CutLineEnd(line);
    if (line.empty()) continue;
    std::string path = InputText(line);
    try {
      path = ExpandPathVariables(path);
      HandlePath(options, path, steps, messages);
    } catch (...) {
      Say(messages, "exception caught on file ", path, "\n");
    }
    if (steps.stop && steps.stop()) return;
  }
  if (options.show_status && !steps.announce) Say(messages, StatusLine(" \n"));
}

}  // namespace tarnlex
