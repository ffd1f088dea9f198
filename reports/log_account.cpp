#include "reports/log_account.h"

#include <algorithm>
#include <numeric>
#include <string>

#include "logs/log_content.h"
#include "logs/platform.h"

namespace tarnlex {
namespace {

// Records that stand where no chunk is, but for those that a recovery came to.
std::uint64_t HeadsNotRead(const WalkAccount& account) {
  const std::uint64_t heads = account.skipped_heads + account.trailing_heads;
  return heads - std::min(heads, account.recovered.outside);
}

Losses LossesOfEvtx(const WalkAccount& account) {
  Losses losses;
  losses.records = account.records;
  losses.partial = account.partial;
  losses.undated = account.undated;
  losses.other_times = account.other_times;
  losses.skipped = account.faults[static_cast<std::size_t>(RecordFault::kTemplateOffset)];
  losses.left = account.records_left + account.uncounted + HeadsNotRead(account);
  losses.recovered = account.recovered;
  losses.regained =
      std::accumulate(account.regained.begin(), account.regained.end(), std::uint64_t{0});
  return losses;
}

// A record that runs past the end of a log is one at least.
Losses LossesOfEvt(const EvtAccount& account) {
  Losses losses;
  losses.records = account.records;
  losses.partial = account.cut_records;
  losses.undated = account.undated;
  losses.left = account.torn_record ? 1 : 0;
  losses.regained = account.joined_records + account.regained_records;
  losses.copies = account.copies;
  losses.recovered = account.recovered;
  return losses;
}

// What begins like no log may have lost nothing but its header.
bool HasChunkBehindHeader(const std::string& path) {
  const auto file = OpenInput(path);
  return file && ContentOf(*file, true) != LogContent::kNone;
}

}  // namespace

UniqueCounts& operator+=(UniqueCounts& sum, const UniqueCounts& more) {
  sum.asked |= more.asked;
  sum.duplicates += more.duplicates;
  sum.not_compared += more.not_compared;
  return sum;
}

Losses LossesOf(const LogAccount& account) {
  if (account.outcome != LogOutcome::kRead) return {};
  if (account.is_image) {
    return {.recovered = account.evtx.recovered, .unique = account.unique};
  }
  Losses losses = account.log.is_evtx ? LossesOfEvtx(account.evtx) : LossesOfEvt(account.evt);
  losses.unique = account.unique;
  return losses;
}

Losses& operator+=(Losses& sum, const Losses& more) {
  sum.records += more.records;
  sum.partial += more.partial;
  sum.undated += more.undated;
  sum.other_times += more.other_times;
  sum.skipped += more.skipped;
  sum.left += more.left;
  sum.regained += more.regained;
  sum.copies += more.copies;
  sum.recovered += more.recovered;
  sum.unique += more.unique;
  return sum;
}

bool IsPassedOver(LogOutcome outcome) {
  switch (outcome) {
    case LogOutcome::kRead:
    case LogOutcome::kNoReport:
    case LogOutcome::kOtherPart:
    case LogOutcome::kNotReached:
    case LogOutcome::kInterrupted: return false;
    default: return true;
  }
}

LogOutcome OutcomeOf(const LogInfo& log) {
  switch (log.opened) {
    case OpenResult::kCannotOpen: return LogOutcome::kNotOpened;
    case OpenResult::kNoEventLog:
      return HasChunkBehindHeader(log.path) ? LogOutcome::kDamagedHeader : LogOutcome::kNoEventLog;
    case OpenResult::kHeaderless:
    case OpenResult::kUnjudged: return LogOutcome::kNotJudged;
    case OpenResult::kOpened: break;
  }
  return LogOutcome::kNoReport;
}

}  // namespace tarnlex
