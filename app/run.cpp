#include "app/run.h"

#include <functional>
#include <optional>
#include <string_view>
#include <utility>

#include "app/loss_remark.h"
#include "app/option_table.h"
#include "app/parse_options.h"
#include "app/pipe_mode.h"
#include "app/prepare_run.h"
#include "app/report_answers.h"
#include "app/run_header.h"
#include "app/screen.h"
#include "app/status_display.h"
#include "app/usage.h"
#include "logs/messages.h"
#include "logs/platform.h"
#include "output/utf8_output.h"
#include "output/visible_text.h"
#include "reports/command_file.h"
#include "reports/command_remarks.h"
#include "reports/process_logs.h"
#include "reports/run_state.h"

namespace tarnlex {
namespace {

constexpr int kSuccess = 0;
constexpr int kFailure = -1;
constexpr int kNotAllRead = 2;       // with -strict
constexpr std::size_t kPiece = 512;  // what any pipe takes whole or not at all

// Standard output as the run uses it. Files that were asked for do not depend on who reads it, so
// its loss is kept here, and is a failed write only to a run that has nothing else to do.
struct StandardOutput {
  std::function<bool(std::string_view)> write;
  std::size_t first_piece = kPiece;  // of the records; tells whether a reader took any of them
  bool lost = false;                 // a write has failed, and nothing more is handed on
  bool has_records = false;          // records follow the header
  bool took_records = false;         // some of them were handed on
  bool ends_run = false;             // there is nothing else to write
  std::function<bool()> stops;       // at the end of the row that is being shown
  bool in_row = false;               // what was handed on last did not end its line
  bool stopped = false;              // rows have been left out since
};

// What lives as long as the run.
struct Run {
  RunState state;
  StandardOutput out = {};
  TextSink stats = {};         // open with -stats
  StatusDisplay display = {};  // with a terminal
  VisibleText shown_out = {};  // of what goes to a terminal
  VisibleText shown_err = {};
};

// Names of files come from the examined machine too, so messages get the same treatment.
void GuardTerminals(Run& run, Console& console) {
  run.shown_err.kept = "\b";  // the status line overwrites itself
  if (console.err_is_terminal) {
    run.display.write = console.err.write;
    run.display.columns = console.err_columns;
    console.err.write = ShowControls(run.shown_err, std::move(console.err.write));
    console.err.write = WipeBefore(run.display, std::move(console.err.write));
  }
  if (console.out_is_terminal) {
    console.out.write = ShowControls(run.shown_out, std::move(console.out.write));
  }
  // Whoever reads a pipe may write to the same screen.
  console.out.write = WipeBefore(run.display, std::move(console.out.write));
}

// Without a terminal the status is what it has always been.
void WatchProgress(Run& run, const RunOptions& options, const Console& console) {
  if (!console.err_is_terminal || !options.show_status) return;
  const bool one_screen = console.out_is_terminal;
  run.state.progress.show = [&run, one_screen, piped = options.pipe](const RunStatus& status) {
    if (one_screen && run.out.in_row) return;
    const std::size_t room = RoomFor(run.display);
    Draw(run.display, piped ? PipedStatusText(status, room) : StatusText(status, room));
  };
}

bool HandOnRecords(StandardOutput& out, std::string_view text) {
  if (!out.took_records) {
    const std::string_view first = text.substr(0, out.first_piece);
    if (!out.write(first)) return false;
    out.took_records = true;
    text.remove_prefix(first.size());
  }
  return text.empty() || out.write(text);
}

// What is left of the row that is being written when the run is interrupted; all of `text` before.
std::string_view UpToStop(StandardOutput& out, std::string_view text) {
  if (text.empty()) return text;
  if (!out.stopped && !(out.stops && out.stops())) {
    out.in_row = text.back() != '\n';
    return text;
  }
  out.stopped = true;
  if (!out.in_row) return {};
  const std::size_t end = text.find('\n');
  out.in_row = end == std::string_view::npos;
  return out.in_row ? text : text.substr(0, end + 1);
}

bool HandOn(StandardOutput& out, std::string_view text) {
  text = UpToStop(out, text);
  if (!out.lost) out.lost = !(out.has_records ? HandOnRecords(out, text) : out.write(text));
  return !out.lost || !out.ends_run;
}

void WatchStandardOutput(StandardOutput& out, Console& console) {
  // A terminal loses nothing half way, but might not show a character that comes in two pieces.
  if (console.out_is_terminal) out.first_piece = std::string_view::npos;
  out.write =
      std::exchange(console.out.write, [&out](std::string_view text) { return HandOn(out, text); });
}

// What a terminal gets to see is UTF-8 anyway, and shows which bytes were none.
void KeepRecordsUtf8(Run& run, Console& console) {
  if (!console.out_is_terminal) console.out.write = KeepUtf8(std::move(console.out.write));
  OutputOpener& open = run.state.records.open;
  open = [plain = std::move(open)](const std::string& path, bool append) {
    auto write = plain(path, append);
    if (write) write = KeepUtf8(std::move(*write));
    return write;
  };
}

bool FileFailed(const Run& run) {
  const RunState& state = run.state;
  return (state.diags && state.diags->failed) || (state.account.out && state.account.out->failed) ||
         (state.carved_logs && !state.carved_logs->failed.empty()) || run.stats.failed ||
         state.records.failed || state.records.sink.failed;
}

// A reader that left had what it wanted, unless it was there for records and got none.
bool StandardOutputMissed(const StandardOutput& out, const Console& console) {
  const bool reader_left = console.reader_gone && console.reader_gone();
  return out.lost && (!reader_left || (out.has_records && !out.took_records));
}

void ExpectRecords(Run& run, const RunOptions& options) {
  run.state.records.missing_columns = options.columns;
  if (options.separator.find('\t') != std::string::npos) run.shown_out.kept = "\t";
  run.out.has_records = !options.to_file && !options.have_out_dir;
  run.out.ends_run =
      run.out.has_records && !options.stats_on && !run.state.diags && !run.state.account.out;
}

// Whoever interrupts a table that runs over the screen wants it to stop.
void StopRowsOnTerminal(Run& run, const RunOptions& options, const Console& console) {
  if (console.out_is_terminal && !IsStream(options)) run.out.stops = run.state.progress.interrupted;
}

// Of logs that a run has read when it is interrupted. Zeros would pass for counts of what was never
// read.
void WriteRestOfStatistics(Run& run, const RunOptions& options) {
  std::erase_if(run.state.logs,
                [&run](const auto& log) { return !run.state.statistics.logs.contains(log.first); });
  WriteStatistics(run.stats, run.state.statistics, run.state.logs, options);
}

void WriteRunStatistics(Run& run, const RunOptions& options) {
  if (!options.stats_on) return;
  WriteStatistics(run.stats, run.state.statistics, run.state.logs, options);
}

// A misspelt name makes a column as well as any other does.
void RemarkMissingColumns(const RunState& run) {
  if (!run.records.wrote) return;
  for (const std::string& name : run.records.missing_columns) {
    Say(run.messages, "no record has a column ", name, ", which -columns asks for\n");
  }
}

void CloseOutputs(Run& run, Console& console) {
  if (run.state.diags) Close(*run.state.diags);
  Close(run.stats);
  CloseRecordOutput(run.state.records);
  Flush(console.out);
  Flush(console.err);
  Wipe(run.display);
}

bool OpenStatistics(Run& run, const RunOptions& options, const std::string& header) {
  if (!options.stats_on) return true;
  auto write = OpenOutput(options.stats_file);
  if (!write) {
    Say(run.state.messages, "prob creating stats file: ", options.stats_file, ", aborting\n");
    return false;
  }
  run.stats = MakeSink(options.complete ? KeepUtf8(std::move(*write)) : std::move(*write));
  AppendNow(run.stats, header + "\n");
  return true;
}

// A log that breaks the program is accounted for as far as that is known, and goes on doing so.
void ProcessOrName(const RunOptions& options, RunState& state) {
  try {
    ProcessLogs(options, state);
  } catch (...) {
    BreakOff(state.account, state.logs, state.current_log);
    throw;
  }
}

int RunFromInput(Run& run, const RunOptions& options, Console& console) {
  LineReader reader;
  reader.read = console.read_input;
  Progress& progress = run.state.progress;
  BeginWork(progress, 0);
  LogSteps steps;
  steps.process = [&](const LogInfo& log) {
    run.state.statistics = {};  // a log that failed half way leaves its counts behind
    run.state.logs = {{log.path, log}};
    ++progress.status.log;
    ProcessOrName(options, run.state);
  };
  steps.pass_over = [&](const LogInfo& log) { AddUnread(run.state.account, log, OutcomeOf(log)); };
  steps.finish = [&] { WriteRunStatistics(run, options); };
  steps.stop = [&] {
    return FileFailed(run) || HasFailed(run.state.records) || StopsHere(progress);
  };
  steps.cut = [&] { return progress.stopped; };
  if (progress.show) {
    steps.announce = [&](const LogInfo& log) {
      progress.show({.log = progress.status.log + 1, .name = log.path});
    };
  }
  RunPipedLogs(options, reader, steps, run.state.messages);
  StopsHere(progress);  // while it waited for a path, perhaps
  return kSuccess;
}

// A listed log that breaks the program ends the run, but not before it is named and what was
// written so far is safe.
int RunFixedList(Run& run, const RunOptions& options) {
  if (options.stats_on) {
    run.state.finished = [&](const LogInfo& log) {
      WriteAndForget(run.stats, run.state.statistics, log, options);
    };
  }
  try {
    ProcessOrName(options, run.state);
  } catch (...) {
    const LogInfo* log = run.state.current_log;
    Say(run.state.messages, "exception caught on file ", log ? log->path : "", "\n");
    return kFailure;
  }
  if (run.state.progress.stopped) WriteRestOfStatistics(run, options);
  return kSuccess;
}

// Says what is odd about the command line and the command file. False when that ends the run, as
// does a command file without commands then.
bool PassRemarks(const CommandLine& line, const std::optional<std::string>& commands,
                 TextSink& messages) {
  const RunOptions& options = line.options;
  std::vector<std::string> remarks = line.remarks;
  if (commands) {
    const auto more = RemarksOnCommands(*commands, options.cmd_file);
    remarks.insert(remarks.end(), more.begin(), more.end());
  }
  for (const std::string& remark : remarks) Say(messages, remark + "\n");
  if (!options.strict) return true;
  Say(messages, line.complaints);
  const bool no_report = options.have_cmd_file && CommandsOf(options, commands, messages).empty();
  if (remarks.empty() && line.complaints.empty() && !no_report) return true;
  Say(messages, "not run, as -strict is given\n");
  return false;
}

// Says how far a run came that was interrupted, in its files of numbers too.
void SayInterrupted(Run& run, const Console& console) {
  const std::string at = "interrupted " + InterruptedAt(run.state.progress) + "\n";
  if (run.stats.write) Append(run.stats, at);
  if (run.state.diags) Append(*run.state.diags, at);
  // What was typed stands on the screen.
  if (console.err_is_terminal && run.display.width == 0) Say(run.state.messages, "\n");
  Say(run.state.messages, at);
  if (run.out.lost || FileFailed(run)) return;
  Say(run.state.messages, run.out.stopped ? "rows behind the last one shown are not written\n"
                                          : "what was read until then is written\n");
}

// Says what the files are that were made of what was found: they are no copies of logs.
void EndCarvedLogs(RunState& run) {
  if (!run.carved_logs) return;
  CarvedLogs& carved = *run.carved_logs;
  FinishCarvedLogs(carved);
  Say(run.messages, std::to_string(carved.made) + (carved.made == 1 ? " log" : " logs") +
                        " made of what was found, with file headers made anew, in " +
                        carved.folder + "\n");
  if (!carved.failed.empty()) {
    Say(run.messages, "prob writing file ", carved.failed, ", aborting\n");
  }
}

// Everything behind the run header.
int Work(Run& run, const CommandLine& line, const std::string& header, Console& console) {
  RunState& state = run.state;
  const RunOptions& options = line.options;
  const std::optional<std::string> commands = LoadCommandFile(options);
  if (!PassRemarks(line, commands, state.messages)) return kFailure;
  if (!PrepareRun(line, state)) return kFailure;
  Say(state.messages, "\n");
  if (!OpenStatistics(run, options, header)) return kFailure;
  ExpectRecords(run, options);
  StopRowsOnTerminal(run, options, console);
  if (run.out.lost && run.out.ends_run) return kSuccess;  // so far; see End
  state.command_lines = CommandsOf(options, commands, state.messages);
  const int result =
      options.pipe ? RunFromInput(run, options, console) : RunFixedList(run, options);
  EndRecords(state.records, options);
  EndCarvedLogs(state);
  if (run.out.stopped) state.progress.stopped = true;
  if (state.progress.stopped) SayInterrupted(run, console);
  Say(state.messages, LossRemark(state.account, options));
  // Of a run that was cut short nobody knows which logs have no records.
  const bool whole = result == kSuccess && !state.progress.stopped;
  if (whole && !FileFailed(run)) RemoveStaleFiles(state.records, options);
  RemarkMissingColumns(state);
  return result;
}

int TellReports(const std::vector<std::string>& args, Console& console) {
  std::string answer;
  const bool known = AnswerAboutReports(args, answer);
  AppendNow(known ? console.out : console.err, answer);
  return known ? kSuccess : kFailure;
}

// What becomes of a run that ends with `result` and has closed its outputs.
int End(const Run& run, const Console& console, const RunOptions& options, int result) {
  if (FileFailed(run) || (result == kSuccess && StandardOutputMissed(run.out, console))) {
    Say(run.state.messages, "prob writing output, aborting\n");
    return kFailure;
  }
  if (run.state.progress.stopped) return kInterruptedRun;
  if (run.state.records.refused || result != kSuccess) return kFailure;
  return options.strict && HasLosses(run.state.account) ? kNotAllRead : kSuccess;
}

// The account is closed behind everything else, as it has the exit code.
int EndWithAccount(Run& run, const RunFacts& facts) {
  EndAccount(run.state.account, facts);
  if (!run.state.account.out || !run.state.account.out->failed) return facts.exit;
  Say(run.state.messages, "prob writing output, aborting\n");
  return kFailure;
}

}  // namespace

int RunApp(const std::vector<std::string>& args, Console& console) {
  Run run{.state = {console.err, MakeRecordOutput(console.out, console.err)}};
  run.state.progress.interrupted = console.interrupted;
  WatchStandardOutput(run.out, console);
  GuardTerminals(run, console);
  DisableFsRedirection();
  if (!IsAdmin()) Say(console.err, "... running w/o admin privileges ...\n");
  if (WantsOptions(args) || WantsVersion(args)) {
    AppendNow(console.out, WantsOptions(args) ? OptionsText() : VersionText());
    return kSuccess;
  }
  if (WantsHelp(args)) {
    Say(console.err, UsageText());
    return kSuccess;
  }
  if (AsksAboutReports(args)) return TellReports(args, console);
  const std::uint64_t now = CurrentFiletime();
  CommandLine line = ReadCommandLine(args, now);
  FitToScreen(line.options, console);
  if (WantsColor(line.options, console)) {
    console.out.paint = [&run](std::string_view code) { return HandOn(run.out, code); };
  }
  if (line.options.complete) KeepRecordsUtf8(run, console);
  WatchProgress(run, line.options, console);
  const std::string header = BuildRunHeader(args, now);
  // Whoever reads a stream finds nothing but records in it.
  AppendNow(IsStream(line.options) ? console.err : console.out, header + "\n");
  const int result = Work(run, line, header, console);
  CloseOutputs(run, console);
  const int code = End(run, console, line.options, result);
  return EndWithAccount(run, {args, now, CurrentFiletime(), code});
}

}  // namespace tarnlex
