#include "reports/run_account.h"

#include <algorithm>

#include "reports/account_json.h"

namespace tarnlex {
namespace {

void Name(NamedLogs& logs, const std::string& path) {
  ++logs.count;
  if (logs.names.size() < kMostNamedLogs) logs.names.push_back(path);
}

void Write(RunAccount& run, const LogAccount& account) {
  if (run.out) Append(*run.out, LogLine(account));
}

NamedLogs& NamesFor(RunAccount& run, LogOutcome outcome) {
  if (outcome == LogOutcome::kNotSearched) return run.not_searched;
  return outcome == LogOutcome::kNotOpened ? run.not_opened : run.passed_over;
}

void Count(RunAccount& run, const LogInfo& log, const WalkedLog& walked) {
  const LogOutcome outcome = walked.outcome;
  run.logs += outcome != LogOutcome::kNotSearched;
  run.read += outcome == LogOutcome::kRead;
  run.losses += walked.losses;
  if (IsPassedOver(outcome)) Name(NamesFor(run, outcome), log.path);
  run.complete_helps |= outcome == LogOutcome::kNotJudged || outcome == LogOutcome::kDamagedHeader;
}

// Where nothing goes by its kind, it does not matter that a log was not judged.
LogOutcome OutcomeOfUnwalked(const LogInfo& log, Unwalked why) {
  const LogOutcome known = OutcomeOf(log);
  const bool is_usable = known == LogOutcome::kNoReport || known == LogOutcome::kNotJudged;
  if (!is_usable || why == Unwalked::kByKind) return known;
  return why == Unwalked::kCutShort ? LogOutcome::kNotReached : LogOutcome::kNoReport;
}

// What can be lost, as one number by which walks are compared.
std::uint64_t Weight(const Losses& losses) { return losses.partial + losses.other_times; }

}  // namespace

bool IsToSurvey(const RunAccount& run, const LogInfo& log) {
  return run.out && !run.walks.contains(log.path);
}

void AddWalk(RunAccount& run, const LogAccount& account) {
  const Losses losses = LossesOf(account);
  const auto [walk, first] =
      run.walks.try_emplace(account.log.path, WalkedLog{account.outcome, losses});
  if (first) Write(run, account);
  if (Weight(losses) > Weight(walk->second.losses)) walk->second.losses = losses;
}

void AddUnread(RunAccount& run, const LogInfo& log, LogOutcome outcome) {
  Count(run, log, {outcome, {}});
  Write(run, {.log = log, .outcome = outcome});
}

void EndLogs(RunAccount& run, const LogTable& logs, Unwalked why) {
  for (const auto& [path, log] : logs) {
    const auto walked = run.walks.find(path);
    if (walked != run.walks.end()) {
      Count(run, log, walked->second);
      continue;
    }
    AddUnread(run, log, OutcomeOfUnwalked(log, why));
  }
  run.walks.clear();
}

void BreakOff(RunAccount& run, const LogTable& logs, const LogInfo* at) {
  if (at) {
    WalkedLog& walked = run.walks[at->path];
    if (walked.outcome == LogOutcome::kNotReached) {
      Write(run, {.log = *at, .outcome = LogOutcome::kBrokenOff});
    }
    walked.outcome = LogOutcome::kBrokenOff;
  }
  EndLogs(run, logs, Unwalked::kCutShort);
}

bool HasLosses(const RunAccount& run) {
  const Losses& losses = run.losses;
  return run.not_opened.count + run.passed_over.count + run.not_searched.count + losses.partial +
             losses.skipped + losses.left >
         0;
}

void EndAccount(RunAccount& run, const RunFacts& facts) {
  if (!run.out) return;
  Append(*run.out, RunLine(run, facts));
  Close(*run.out);
}

}  // namespace tarnlex
