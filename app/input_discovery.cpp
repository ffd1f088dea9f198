#include "app/input_discovery.h"

#include <optional>
#include <string_view>
#include <utility>
#include <vector>

#include "app/open_log.h"
#include "logs/log_content.h"
#include "logs/messages.h"
#include "logs/paths.h"
#include "logs/platform.h"
#include "logs/text.h"

namespace tarnlex {
namespace {

constexpr std::string_view kNeedAdmin =
    "Not running w/ admin privileges... pls restart with admin privs\n";

void SayUnusable(OpenResult result, const std::string& path, TextSink& messages) {
  if (result == OpenResult::kCannotOpen) {
    Say(messages, "prob opening log ", path, ", skipping\n");
  } else if (result == OpenResult::kNoEventLog) {
    Say(messages, "no event log in ", path, ", skipping\n");
  }
}

bool Complain(std::string& complaints, std::string_view text) {
  complaints += text;
  return false;
}

// A system source stands alone.
bool IsOnlySource(const RunOptions& options, const char* name, std::string& complaints) {
  const char* other = nullptr;
  if (!options.log_paths.empty()) other = "-log";
  if (!options.folders.empty()) other = "-dir";
  if (options.pipe) other = "-pipe";
  if (IsCarving(options)) other = "-carve";
  if (other == nullptr) return true;
  return Complain(complaints, std::string("Error, can't use ") + name + " with " + other +
                                  " option, aborting\n");
}

// The file name in lower case up to its last "."; names as Windows XP gave them become those that
// its successors use.
std::string KindOfFile(std::string_view name) {
  std::string stem = ToLowerAscii(name.substr(0, name.rfind('.')));
  if (stem == "secevent") return kKindSecurity;
  if (stem == "sysevent") return kKindSystem;
  if (stem == "appevent") return kKindApplication;
  return stem;
}

bool Scan(LogTable& logs, const std::string& directory, std::string& complaints,
          std::size_t prefix_size = 0) {
  return ScanLogDirectory(logs, directory, prefix_size) ||
         Complain(complaints, "probs getting information about eventlogs, aborting\n");
}

// The directory of a file below `root`, as the volume spells it; nothing when it is not there.
std::optional<std::string> DirectoryOf(const std::string& root, const char* windows_path) {
  std::string path = root + windows_path;
  if (!OnWindows()) path = root + ReplaceChar(windows_path, '\\', '/');
  const auto found = FindPathNoCase(path);
  if (!found) return std::nullopt;
  return found->substr(0, found->find_last_of(OnWindows() ? "\\/" : "/"));
}

// What stands before "Windows\..." on the volume; nothing for a value that names no volume here.
std::optional<std::string> VolumeRoot(const std::string& volume) {
  if (OnWindows()) {
    if (volume.empty()) return std::nullopt;
    return volume.substr(0, 1) + ":\\";
  }
  if (volume.find('/') == std::string::npos) return std::nullopt;
  return volume.back() == '/' ? volume : volume + "/";
}

bool UseLiveSystem(LogTable& logs, std::string& complaints) {
  if (!IsAdmin()) return Complain(complaints, kNeedAdmin);
  return Scan(logs,
              WindowsDirectory().value_or("c:\\windows") + "\\system32" +
                  (IsVistaOrLater() ? "\\winevt\\logs" : "\\config"),
              complaints);
}

bool UsePartition(std::string volume, LogTable& logs, std::string& complaints) {
  if (OnWindows()) volume = ToLowerAscii(volume);
  if (OnWindows() && volume.starts_with('c') && !IsAdmin()) return Complain(complaints, kNeedAdmin);
  const auto root = VolumeRoot(volume);
  std::optional<std::string> directory;
  if (root) {
    directory = DirectoryOf(*root, "Windows\\System32\\Config\\SysEvent.Evt");
    if (!directory) {
      directory = DirectoryOf(*root, "Windows\\System32\\winevt\\logs\\System.evtx");
    }
  }
  if (!directory) return Complain(complaints, "No eventlogs found in system directory\n");
  return Scan(logs, *directory, complaints, root->size());
}

bool UseShadowCopy(const std::string& number, LogTable& logs, std::string& complaints) {
  if (!IsAdmin()) {
    return Complain(complaints,
                    "This option requires admin privileges...\n"
                    "need to restart cmd prompt using \"Run As Administrator\" option...\n");
  }
  if (!IsVistaOrLater()) {
    return Complain(complaints, "-vss option only applies to Vista, Win7, Win8 and beyond\n");
  }
  return Scan(logs, kShadowCopyPrefix + number + "\\Windows\\System32\\winevt\\logs", complaints);
}

// What was passed over without being looked into is said of quiet runs too.
std::string ScanText(const RunOptions& options, const FolderScan& scan) {
  const bool worth_it = options.show_status || scan.links > 0 || scan.special > 0;
  return worth_it ? FoundText(scan) : std::string();
}

// The logs below the folders of -dir, beside those of -log.
bool UseFolders(const RunOptions& options, LogTable& logs, std::vector<UnreadPath>& unread,
                std::string& complaints, const std::function<bool()>& stop) {
  if (options.pipe) {
    return Complain(complaints, "Error, can't use -dir with -pipe option, aborting\n");
  }
  FolderScan scan;
  for (const std::string& folder : options.folders) {
    ScanFolder(folder, JudgementOf(options), logs, scan, stop);
  }
  if (scan.stopped) return Complain(complaints, "interrupted while looking for logs\n");
  if (logs.empty()) complaints += UnreadText(scan.unread);
  complaints += ScanText(options, scan);
  unread = std::move(scan.unread);
  return !logs.empty() || Complain(complaints, "no event log found, aborting\n");
}

// Images to be searched for logs.
bool UseImages(const RunOptions& options, LogTable& logs, std::string& complaints) {
  const char* other = nullptr;
  if (options.logs_listed) other = "-log";
  if (!options.folders.empty()) other = "-dir";
  if (options.pipe) other = "-pipe";
  if (other != nullptr) {
    return Complain(complaints,
                    std::string("Error, can't use -carve with ") + other + " option, aborting\n");
  }
  for (const std::string& path : options.images) {
    LogInfo& image = logs[path];
    image.path = path;
    if (!OpenImage(path)) {
      image.opened = OpenResult::kCannotOpen;
      Complain(complaints, "prob opening image " + path + ", skipping\n");
    }
  }
  return true;
}

// The logs of -log, unless their paths are piped in.
bool UseList(const RunOptions& options, const LogTable& logs, std::string& complaints) {
  if (options.pipe) {
    if (options.logs_listed) Complain(complaints, "ignoring -log, paths are piped in\n");
    return true;
  }
  return !logs.empty() ||
         Complain(complaints, "need to specify a log file, via the -log <event log> option\n");
}

}  // namespace

bool FindLogs(const RunOptions& options, LogTable& logs, std::vector<UnreadPath>& unread,
              std::string& complaints, const std::function<bool()>& stop) {
  if (!IsCarving(options)) {
    for (const std::string& path : options.log_paths) logs[path].path = path;
  }
  if (options.live_system) {
    return IsOnlySource(options, "-livesys", complaints) && UseLiveSystem(logs, complaints);
  }
  if (options.partition) {
    return IsOnlySource(options, "-partition", complaints) &&
           UsePartition(*options.partition, logs, complaints);
  }
  if (options.shadow_copy) {
    return IsOnlySource(options, "-vss", complaints) &&
           UseShadowCopy(*options.shadow_copy, logs, complaints);
  }
  if (IsCarving(options)) return UseImages(options, logs, complaints);
  if (!options.folders.empty()) return UseFolders(options, logs, unread, complaints, stop);
  return UseList(options, logs, complaints);
}

void JudgeLogs(const RunOptions& options, LogTable& logs, TextSink& messages) {
  if (IsCarving(options)) return;
  for (const std::string& path : options.log_paths) {
    SayUnusable(ProbeLog(logs[path], path, JudgementOf(options)), path, messages);
  }
  if (!options.complete || !options.log_paths.empty() || !options.folders.empty()) return;
  for (auto& [path, log] : logs) TakeKindOfRecords(log);
}

bool ScanLogDirectory(LogTable& table, const std::string& directory, std::size_t prefix_size) {
  table.clear();
  const std::string_view own = std::string_view(directory).substr(
      prefix_size < directory.size() ? prefix_size : directory.size());
  const bool is_evtx = ContainsNoCase(own, "winevt");
  for (const std::string& name : ListFiles(directory, is_evtx ? ".evtx" : ".evt")) {
    LogInfo log;
    log.path = JoinPath(directory, name);
    const LogContent content = ContentOfFile(log.path);
    log.is_evtx = content == LogContent::kNone ? is_evtx : content != LogContent::kEvt;
    log.format_unknown = false;
    log.kind = KindOfFile(name);
    log.kind_from = KindFrom::kFileName;
    table.emplace(log.path, log);
  }
  return !table.empty();
}

}  // namespace tarnlex
