// What a run has read and what it has not: of all its logs together, and, with -account, a line for
// each of them.
#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "logs/log_info.h"
#include "logs/text_sink.h"
#include "reports/log_account.h"

namespace tarnlex {

// Logs that were not read, or folders: how many, and what the first of them are called.
struct NamedLogs {
  std::uint64_t count = 0;
  std::vector<std::string> names;  // at most kMostNamedLogs
};
inline constexpr std::size_t kMostNamedLogs = 10;

// What the walks of a log have said of it so far.
struct WalkedLog {
  LogOutcome outcome = LogOutcome::kNotReached;
  Losses losses;
};

struct RunAccount {
  std::optional<TextSink> out;             // open with -account
  std::map<std::string, WalkedLog> walks;  // of logs of the table at hand, by path
  std::uint64_t logs = 0;
  std::uint64_t read = 0;
  NamedLogs not_opened;
  NamedLogs passed_over;
  NamedLogs not_searched;       // folders
  bool complete_helps = false;  // -complete would read one of these
  Losses losses;
};

// Whether the next walk of the log is to gather all that can be known of it.
bool IsToSurvey(const RunAccount& run, const LogInfo& log);

// Takes up what a walk has said of its log. One that several reports walk counts once: by the walk
// that found most, as nothing is known of values that nobody asked for.
void AddWalk(RunAccount& run, const LogAccount& account);

// Takes up a log that is not walked any more, and is in no table; or a folder that is not searched.
void AddUnread(RunAccount& run, const LogInfo& log, LogOutcome outcome);

// Why logs of a table were not walked, where it is not the log's doing.
enum class Unwalked : std::uint8_t {
  kUnasked,   // nothing asks for any of their records
  kByKind,    // reports pick them by their kind
  kCutShort,  // the run ended before
};

// Ends the account of the logs of a table, those that no walk came to among them.
void EndLogs(RunAccount& run, const LogTable& logs, Unwalked why);

// The same for a table at whose log `at`, if any, the program failed: the rest was not reached.
void BreakOff(RunAccount& run, const LogTable& logs, const LogInfo* at);

// Whether a log was passed over, or not all of one read.
bool HasLosses(const RunAccount& run);

// What a run says of itself at the end of its account.
struct RunFacts {
  std::vector<std::string> arguments;
  std::uint64_t began = 0;  // FILETIME
  std::uint64_t ended = 0;
  int exit = 0;
};

// Writes the line for the run and closes the account.
void EndAccount(RunAccount& run, const RunFacts& facts);

}  // namespace tarnlex
