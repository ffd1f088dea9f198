#include "app/folder_scan.h"

#include <optional>
#include <string_view>
#include <utility>

#include "logs/log_content.h"
#include "logs/paths.h"
#include "logs/read_file.h"

namespace tarnlex {
namespace {

constexpr std::size_t kMostNamed = 10;

void AddUnread(FolderScan& scan, std::string_view head, const std::string& path,
               std::string_view tail) {
  if (scan.unread_count++ >= kMostNamed) return;
  scan.unread.push_back(std::string(head).append(path).append(tail));
}

bool IsReadable(const InputFile& file) {
  std::uint8_t first = 0;
  return file.size == 0 || ReadFully(file, 0, {&first, 1}) == 1;
}

// A log whose header is gone passes for another file, but not unsaid.
void TakeOther(FolderScan& scan, const std::string& path, const InputFile& file) {
  if (!IsReadable(file)) {
    AddUnread(scan, "prob reading file ", path, ", skipping");
  } else if (ContentOf(file, true) != LogContent::kNone) {
    AddUnread(scan, "damaged header of log ", path, ", skipping; -complete reads it");
  } else {
    ++scan.others;
  }
}

void TakeFile(std::string path, Judgement judgement, LogTable& logs, FolderScan& scan) {
  const std::optional<InputFile> file = OpenInput(path);
  if (!file) {
    AddUnread(scan, "prob opening file ", path, ", skipping");
    return;
  }
  LogInfo log;
  if (ProbeLogFile(log, path, *file, judgement) == OpenResult::kNoEventLog) {
    TakeOther(scan, path, *file);
    return;
  }
  scan.logs += logs.try_emplace(std::move(path), std::move(log)).second;
}

// The entries of a folder that was not entered before.
std::vector<FolderEntry> Enter(const std::string& folder, FolderScan& scan) {
  std::vector<FolderEntry> entries;
  const auto id = IdentifyFile(folder);
  if (id && !scan.entered.insert(*id).second) return entries;
  if (!ListFolder(folder, entries)) AddUnread(scan, "prob reading folder ", folder, ", skipping");
  return entries;
}

std::string Counted(std::uint64_t count, std::string_view one, std::string_view many) {
  return std::to_string(count).append(" ").append(count == 1 ? one : many);
}

}  // namespace

void ScanFolder(const std::string& folder, Judgement judgement, LogTable& logs, FolderScan& scan,
                const std::function<bool()>& stop) {
  std::vector<std::string> ahead{folder};
  while (!ahead.empty()) {
    const std::string at = std::move(ahead.back());
    ahead.pop_back();
    for (const FolderEntry& entry : Enter(at, scan)) {
      scan.stopped = scan.stopped || (stop && stop());
      if (scan.stopped) return;
      switch (entry.kind) {
        case EntryKind::kFile: TakeFile(JoinPath(at, entry.name), judgement, logs, scan); break;
        case EntryKind::kFolder: ahead.push_back(JoinPath(at, entry.name)); break;
        case EntryKind::kLink: ++scan.links; break;
        case EntryKind::kOther: ++scan.special; break;
      }
    }
  }
}

std::string UnreadText(const FolderScan& scan) {
  std::string text;
  for (const std::string& line : scan.unread) text.append(line) += '\n';
  const std::uint64_t more = scan.unread_count - scan.unread.size();
  if (more > 0) text.append("skipping ").append(std::to_string(more)).append(" more like these\n");
  return text;
}

std::string FoundText(const FolderScan& scan) {
  std::string text = "found " + Counted(scan.logs, "event log", "event logs");
  if (scan.others > 0) text += "; " + Counted(scan.others, "other file", "other files");
  if (scan.links > 0) {
    text += "; " + Counted(scan.links, "link not followed", "links not followed");
  }
  if (scan.special > 0) {
    text += "; " + Counted(scan.special, "special file left alone", "special files left alone");
  }
  return text + "\n";
}

}  // namespace tarnlex
