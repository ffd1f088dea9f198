// The event logs below a folder, found by their bytes and whatever their names.
#pragma once

#include <cstdint>
#include <functional>
#include <set>
#include <string>
#include <vector>

#include "app/open_log.h"
#include "logs/log_info.h"
#include "logs/platform.h"
#include "reports/log_account.h"

namespace tarnlex {

// A folder, or a file that may be a log, of which nothing can be read.
struct UnreadPath {
  std::string path;
  LogOutcome outcome = LogOutcome::kNotOpened;
};

// What was met below the folders of a run.
struct FolderScan {
  std::uint64_t logs = 0;
  std::uint64_t others = 0;   // plain files that are no event log
  std::uint64_t links = 0;    // to files and folders; not followed
  std::uint64_t special = 0;  // pipes, devices, sockets; not opened
  std::vector<UnreadPath> unread;
  bool stopped = false;      // `stop` has answered true
  std::set<FileId> entered;  // folders, none of which is read twice
};

// Adds the event logs below `folder`, in any depth, to `logs`, judged, and the rest to `scan`;
// files that `logs` has already are left to it. The folder itself may be a link; none below it is
// followed. Ends early when `stop` says so.
void ScanFolder(const std::string& folder, Judgement judgement, LogTable& logs, FolderScan& scan,
                const std::function<bool()>& stop);

// Lines that name what could not be read, the first ten of it.
std::string UnreadText(const std::vector<UnreadPath>& unread);

// One line: what was found, and what was left alone.
std::string FoundText(const FolderScan& scan);

}  // namespace tarnlex
