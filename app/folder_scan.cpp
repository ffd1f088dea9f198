#include "app/folder_scan.h"

#include <algorithm>
#include <optional>
#include <string_view>
#include <utility>

#include "logs/log_content.h"
#include "logs/messages.h"
#include "logs/paths.h"
#include "logs/read_file.h"
#include "reports/run_account.h"

namespace tarnlex {
namespace {

std::string UnreadLine(const UnreadPath& unread) {
  switch (unread.outcome) {
    case LogOutcome::kNotSearched: return "prob reading folder " + unread.path + ", skipping\n";
    case LogOutcome::kUnreadable: return "prob reading file " + unread.path + ", skipping\n";
    case LogOutcome::kDamagedHeader:
      return "damaged header of log " + unread.path + ", skipping; -complete reads it\n";
    default: return "prob opening file " + unread.path + ", skipping\n";
  }
}

bool IsReadable(const InputFile& file) {
  std::uint8_t first = 0;
  return file.size == 0 || ReadFully(file, 0, {&first, 1}) == 1;
}

// A log whose header is gone passes for another file, but not unsaid.
void TakeOther(FolderScan& scan, std::string path, const InputFile& file) {
  if (!IsReadable(file)) {
    scan.unread.push_back({std::move(path), LogOutcome::kUnreadable});
  } else if (ContentOf(file, true) != LogContent::kNone) {
    scan.unread.push_back({std::move(path), LogOutcome::kDamagedHeader});
  } else {
    ++scan.others;
  }
}

void TakeFile(std::string path, Judgement judgement, LogTable& logs, FolderScan& scan) {
  if (logs.contains(path)) return;
  const std::optional<InputFile> file = OpenInput(path);
  if (!file) {
    scan.unread.push_back({std::move(path), LogOutcome::kNotOpened});
    return;
  }
  LogInfo log;
  if (ProbeLogFile(log, path, *file, judgement) == OpenResult::kNoEventLog) {
    TakeOther(scan, std::move(path), *file);
    return;
  }
  ++scan.logs;
  logs.emplace(std::move(path), std::move(log));
}

// The entries of a folder that was not entered before.
std::vector<FolderEntry> Enter(const std::string& folder, FolderScan& scan) {
  std::vector<FolderEntry> entries;
  const auto id = IdentifyFile(folder);
  if (id && !scan.entered.insert(*id).second) return entries;
  if (!ListFolder(folder, entries)) scan.unread.push_back({folder, LogOutcome::kNotSearched});
  return entries;
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

std::string UnreadText(const std::vector<UnreadPath>& unread) {
  const std::size_t named = std::min(unread.size(), kMostNamedLogs);
  std::string text;
  for (std::size_t i = 0; i < named; ++i) text += UnreadLine(unread[i]);
  const std::size_t more = unread.size() - named;
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
  if (!scan.unread.empty()) text += "; " + std::to_string(scan.unread.size()) + " not read";
  return text + "\n";
}

}  // namespace tarnlex
