#include "app/prepare_run.h"

#include <algorithm>
#include <string>
#include <utility>
#include <vector>

#include "app/input_discovery.h"
#include "logs/messages.h"
#include "logs/output_guard.h"
#include "logs/platform.h"
#include "output/utf8_output.h"

namespace tarnlex {
namespace {

bool RefuseOutput(const std::string& path, TextSink& messages) {
  Say(messages, "prob opening file ", path, " for output, aborting\n");
  return false;
}

// Whether no file that is written is read too, by this run or, as a log, by another.
bool OutputsAreNoInputs(const RunOptions& options, const RunState& run) {
  std::vector<std::string> outputs;
  if (options.diags_on) outputs.push_back(options.diags_file);
  if (options.to_file) outputs.push_back(options.out_file);
  if (options.stats_on) outputs.push_back(options.stats_file);
  if (options.account_on) outputs.push_back(options.account_file);
  const auto input = std::find_if(outputs.begin(), outputs.end(), [&](const std::string& path) {
    return HoldsEventLog(path) || IsSameFile(path, run.logs, options.cmd_file);
  });
  return input == outputs.end() || RefuseOutput(*input, run.messages);
}

// What an account says must not be overwritten by what it tells of.
bool AccountStandsAlone(const RunOptions& options, const RunState& run) {
  if (!options.account_on) return true;
  const std::string& account = options.account_file;
  const bool shared = (options.diags_on && IsSameOutput(account, options.diags_file)) ||
                      (options.to_file && IsSameOutput(account, options.out_file)) ||
                      (options.stats_on && IsSameOutput(account, options.stats_file));
  return !shared || RefuseOutput(account, run.messages);
}

bool OpenAccount(const RunOptions& options, RunState& run) {
  auto write = OpenGuardedOutput(options.account_file);
  if (!write) return RefuseOutput(options.account_file, run.messages);
  run.account.out = MakeSink(KeepUtf8(std::move(*write)));
  return true;
}

void OpenDiagnostics(const RunOptions& options, RunState& run) {
  auto write = OpenGuardedOutput(options.diags_file);
  if (!write) {
    Say(run.messages, "prob opening file ", options.diags_file, " for diagnostics, skipping\n");
    return;
  }
  run.diags = MakeSink(options.complete ? KeepUtf8(std::move(*write)) : std::move(*write));
  AppendNow(*run.diags, std::string("->").append(options.cmdline).append("\n"));
}

bool OpenOutputs(const RunOptions& options, RunState& run) {
  if (options.diags_on) OpenDiagnostics(options, run);
  if (options.have_out_dir && !MakeDirectory(options.out_dir)) {
    return RefuseOutput(options.out_dir, run.messages);
  }
  if (options.keeps_carved) {
    if (!MakeDirectory(options.carve_folder))
      return RefuseOutput(options.carve_folder, run.messages);
    run.carved_logs.emplace().folder = options.carve_folder;
  }
  if (options.account_on && !OpenAccount(options, run)) return false;
  // Opened and closed again: the examiner should learn of a bad name now, not after the work.
  if (options.to_file && !OpenGuardedOutput(options.out_file)) {
    return RefuseOutput(options.out_file, run.messages);
  }
  return true;
}

}  // namespace

bool PrepareRun(const CommandLine& line, RunState& run) {
  std::string of_sources;
  const auto stop = [&run] {
    Advance(run.progress, 0, 0);
    return StopsHere(run.progress);
  };
  std::vector<UnreadPath> unread;
  const bool found = line.complete && FindLogs(line.options, run.logs, unread, of_sources, stop);
  if (!OutputsAreNoInputs(line.options, run)) return false;
  if (!AccountStandsAlone(line.options, run)) return false;
  if (found && !OpenOutputs(line.options, run)) return false;
  for (const UnreadPath& path : unread) {
    AddUnread(run.account, {.path = path.path, .kind = {}}, path.outcome);
  }
  Say(run.messages, line.complaints);
  if (!line.complete) return false;
  JudgeLogs(line.options, run.logs, run.messages);
  Say(run.messages, of_sources);
  return found;
}

}  // namespace tarnlex
