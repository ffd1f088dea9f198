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

namespace tarnlex {

// What was met below the folders of a run.
struct FolderScan {
  std::uint64_t logs = 0;
  std::uint64_t others = 0;         // plain files that are no event log
  std::uint64_t links = 0;          // to files and folders; not followed
  std::uint64_t special = 0;        // pipes, devices, sockets; not opened
  std::vector<std::string> unread;  // a line for each of the first things that could not be read
  std::uint64_t unread_count = 0;   // of all of them
  bool stopped = false;             // `stop` has answered true
  std::set<FileId> entered;         // folders, none of which is read twice
};

// Adds the event logs below `folder`, in any depth, to `logs`, judged, and the rest to `scan`. The
// folder itself may be a link; none below it is followed. Ends early when `stop` says so.
void ScanFolder(const std::string& folder, Judgement judgement, LogTable& logs, FolderScan& scan,
                const std::function<bool()>& stop);

// Lines that name what could not be read, the first ten of it.
std::string UnreadText(const FolderScan& scan);

// One line: what was found, and what was left alone.
std::string FoundText(const FolderScan& scan);

}  // namespace tarnlex
