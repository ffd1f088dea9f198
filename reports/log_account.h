// What is known of one log: how it was judged, what its walk read of it and what it did not. The
// account of -diags, that of -account, the remark at the end of a run and the exit code of -strict
// all come from it.
#pragma once

#include <cstdint>

#include "event/carving.h"
#include "event/recovery.h"
#include "evt/walk.h"
#include "evtx/account.h"
#include "logs/log_info.h"

namespace tarnlex {

// What became of a log.
enum class LogOutcome : std::uint8_t {
  kNotReached,     // the run ended before it
  kInterrupted,    // the run was ended in it
  kNoReport,       // no report asks for logs of its kind
  kOtherPart,      // all of it is in another part
  kNotOpened,      // it cannot be opened
  kUnreadable,     // it can be opened, but no byte of it be read
  kNotSearched,    // a folder that cannot be listed, whatever lies below it
  kNoEventLog,     // it is none, or nothing is left of it
  kDamagedHeader,  // only its header is none of a log
  kNotJudged,      // nobody knows whether a report asks for it
  kTooLarge,
  kBrokenOff,  // the program failed at it
  kRead,       // to its end, though perhaps not all of it
};

// What -unique has made of a log.
struct UniqueCounts {
  bool asked = false;              // false: every event is given
  std::uint64_t duplicates = 0;    // events that were given before, and not again
  std::uint64_t not_compared = 0;  // given events that later ones could not be compared with
};
UniqueCounts& operator+=(UniqueCounts& sum, const UniqueCounts& more);

struct LogAccount {
  LogInfo log;  // the format is that of its content, once it is read
  std::uint64_t size = 0;
  LogOutcome outcome = LogOutcome::kNotReached;
  bool surveyed = false;   // the account has checksums and the like
  std::uint64_t part = 1;  // that was walked, of so many
  std::uint64_t parts = 1;
  bool is_image = false;  // searched for logs, of either container
  CarveCounts carved = {};
  WalkAccount evtx = {};  // of its container one of the two
  EvtAccount evt = {};
  UniqueCounts unique = {};
};

// What there is to say of it in numbers. Of a log that was not read nothing is known.
struct Losses {
  std::uint64_t records = 0;  // that were decoded, whole or in part
  std::uint64_t partial = 0;  // among them, with less than they hold
  std::uint64_t undated = 0;  // among them
  std::uint64_t other_times = 0;
  std::uint64_t skipped = 0;      // records that were come to and not decoded
  std::uint64_t left = 0;         // records that were not come to, as far as they can be counted
  std::uint64_t regained = 0;     // decoded records that a walk by sizes would not come to
  std::uint64_t copies = 0;       // of records, left out
  RecoveryCounts recovered = {};  // none of them among the others
  UniqueCounts unique = {};
};
Losses LossesOf(const LogAccount& account);
Losses& operator+=(Losses& sum, const Losses& more);

// Whether a log that was not read should have been.
bool IsPassedOver(LogOutcome outcome);

// Why a log has not been walked, as far as its opener knows; looks once more into what is none.
LogOutcome OutcomeOf(const LogInfo& log);

}  // namespace tarnlex
