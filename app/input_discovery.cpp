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

void SayUnusable(const RunOptions& options, OpenResult result, const std::string& path) {
  if (result == OpenResult::kCannotOpen) {
    Say(options, "prob opening log ", path, ", skipping\n");
  } else if (result == OpenResult::kNoEventLog) {
    Say(options, "no event log in ", path, ", skipping\n");
  }
}

// A system source stands alone.
bool IsOnlySource(const RunOptions& options, const char* name) {
  const char* other = nullptr;
  if (!options.logs.empty()) other = "-log";
  if (options.pipe) other = "-pipe";
  if (other == nullptr) return true;
  Say(options, std::string("Error, can't use ") + name + " with " + other + " option, aborting\n");
  return false;
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

bool ScanOrSay(RunOptions& options, const std::string& directory, std::size_t prefix_size = 0) {
  if (ScanLogDirectory(options.logs, directory, prefix_size)) return true;
  Say(options, "probs getting information about eventlogs, aborting\n");
  return false;
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

}  // namespace

void AddLogList(RunOptions& options, const std::string& list) {
  std::vector<std::string> pieces;
  SplitList(list, '|', true, pieces);
  for (const std::string& piece : pieces) {
    const std::string path = ExpandPathVariables(piece);
    if (options.logs.contains(path)) continue;
    LogInfo log;
    log.path = path;
    if (!options.trial) SayUnusable(options, ProbeLog(log, path), path);
    options.logs.emplace(path, log);
  }
}

bool UseLiveSystem(RunOptions& options) {
  if (!IsOnlySource(options, "-livesys")) return false;
  options.logs.clear();
  if (!IsAdmin()) {
    Say(options, kNeedAdmin);
    return false;
  }
  return ScanOrSay(options, WindowsDirectory().value_or("c:\\windows") + "\\system32" +
                                (IsVistaOrLater() ? "\\winevt\\logs" : "\\config"));
}

bool UsePartition(RunOptions& options, std::string volume) {
  if (!IsOnlySource(options, "-partition")) return false;
  if (OnWindows()) volume = ToLowerAscii(volume);
  options.logs.clear();
  if (OnWindows() && volume.starts_with('c') && !IsAdmin()) {
    Say(options, kNeedAdmin);
    return false;
  }
  const auto root = VolumeRoot(volume);
  std::optional<std::string> directory;
  if (root) {
    directory = DirectoryOf(*root, "Windows\\System32\\Config\\SysEvent.Evt");
    if (!directory) {
      directory = DirectoryOf(*root, "Windows\\System32\\winevt\\logs\\System.evtx");
    }
  }
  if (!directory) {
    Say(options, "No eventlogs found in system directory\n");
    return false;
  }
  return ScanOrSay(options, *directory, root->size());
}

bool UseShadowCopy(RunOptions& options, const std::string& number) {
  if (!IsOnlySource(options, "-vss")) return false;
  if (!IsAdmin()) {
    Say(options, "This option requires admin privileges...\n");
    Say(options, "need to restart cmd prompt using \"Run As Administrator\" option...\n");
    return false;
  }
  if (!IsVistaOrLater()) {
    Say(options, "-vss option only applies to Vista, Win7, Win8 and beyond\n");
    return false;
  }
  return ScanOrSay(options, kShadowCopyPrefix + number + "\\Windows\\System32\\winevt\\logs");
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
    table.emplace(log.path, log);
  }
  return !table.empty();
}

}  // namespace tarnlex
