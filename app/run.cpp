#include "app/run.h"

#include <utility>

#include "app/parse_options.h"
#include "app/pipe_mode.h"
#include "app/run_header.h"
#include "app/usage.h"
#include "evtx/decoder.h"
#include "logs/messages.h"
#include "logs/platform.h"
#include "output/record_output.h"
#include "output/statistics.h"
#include "output/visible_text.h"
#include "reports/command_file.h"
#include "reports/process_logs.h"

namespace tarnlex {
namespace {

constexpr int kSuccess = 0;
constexpr int kFailure = -1;

// What lives as long as the run and is pointed at by its options.
struct Run {
  RunOptions options;
  TextSink diags;
  TextSink stats;  // open with -stats
  RecordOutput records;
  EvtxDecoder evtx_decoder;
  Statistics statistics;
  VisibleText shown_out;  // of what goes to a terminal
  VisibleText shown_err;
};

// Names of files come from the examined machine too, so messages get the same treatment.
void GuardTerminals(Run& run, Console& console) {
  run.shown_err.kept = "\b";  // the status line overwrites itself
  if (console.out_is_terminal) {
    console.out.write = ShowControls(run.shown_out, std::move(console.out.write));
  }
  if (console.err_is_terminal) {
    console.err.write = ShowControls(run.shown_err, std::move(console.err.write));
  }
}

bool AnyOutputFailed(const Run& run, const Console& console) {
  return console.out.failed || run.diags.failed || run.stats.failed ||
         HasFailed(run.options.record_output);
}

void AttachOutputs(Run& run, TextSink& standard_output) {
  run.records = MakeRecordOutput(standard_output);
  run.options.record_output = &run.records;
  run.options.evtx_decoder = &run.evtx_decoder;
  if (run.options.separator.find('\t') != std::string::npos) run.shown_out.kept = "\t";
  if (run.options.stats_on) run.options.statistics = &run.statistics;
}

void WriteRunStatistics(Run& run) {
  if (run.options.stats_on) WriteStatistics(run.stats, run.statistics, run.options);
}

void CloseOutputs(Run& run, Console& console) {
  if (run.options.diags_on) Close(run.diags);
  Close(run.stats);
  CloseRecordOutput(run.records);
  Flush(console.out);
  Flush(console.err);
}

bool OpenStatistics(Run& run, const std::string& header) {
  if (!run.options.stats_on) return true;
  auto write = OpenOutput(run.options.stats_file);
  if (!write) {
    Say(run.options, "prob creating stats file: ", run.options.stats_file, ", aborting\n");
    return false;
  }
  run.stats = MakeSink(std::move(*write));
  AppendNow(run.stats, header + "\n");
  return true;
}

void RunFromInput(Run& run, Console& console) {
  LineReader reader;
  reader.read = console.read_input;
  LogSteps steps;
  steps.process = [&run](RunOptions& options) {
    run.statistics = Statistics{};  // a log that failed half way leaves its counts behind
    ProcessLogs(options);
  };
  steps.finish = [&run] { WriteRunStatistics(run); };
  steps.stop = [&] { return AnyOutputFailed(run, console); };
  RunPipedLogs(run.options, reader, steps);
}

// A listed log that breaks the program ends the run, but not before it is named and what was
// written so far is safe.
int RunFixedList(Run& run) {
  try {
    ProcessLogs(run.options);
  } catch (...) {
    Say(run.options, "exception caught on file ", run.options.current_log.path, "\n");
    return kFailure;
  }
  WriteRunStatistics(run);
  return kSuccess;
}

// Everything behind the run header.
int Work(Run& run, Arguments args, const std::string& header, Console& console) {
  RunOptions& options = run.options;
  options.diags = &run.diags;
  const bool parsed = ParseOptions(options, args);
  if (!options.diags_on) options.diags = nullptr;
  if (!parsed) return kFailure;
  if (options.logs.empty() && !options.pipe) {
    Say(options, "need to specify a log file, via the -log <event log> option\n");
    return kFailure;
  }
  Say(options, "\n");
  if (!OpenStatistics(run, header)) return kFailure;
  AttachOutputs(run, console.out);
  LoadCommandFile(options);
  if (!options.pipe) return RunFixedList(run);
  RunFromInput(run, console);
  return kSuccess;
}

int EndAfterFailedWrite(const Run& run, const Console& console) {
  if (console.out.failed && console.reader_gone && console.reader_gone()) return kSuccess;
  Say(run.options, "prob writing output, aborting\n");
  return kFailure;
}

}  // namespace

int RunApp(const std::vector<std::string>& args, Console& console) {
  Run run;
  run.options.messages = &console.err;
  GuardTerminals(run, console);
  DisableFsRedirection();
  if (!IsAdmin()) Say(run.options, "... running w/o admin privileges ...\n");
  if (WantsHelp(args)) {
    Say(run.options, UsageText());
    return kSuccess;
  }
  const std::string header = BuildRunHeader(args, CurrentFiletime());
  AppendNow(console.out, header + "\n");
  const int result = console.out.failed ? kFailure : Work(run, args, header, console);
  CloseOutputs(run, console);
  if (AnyOutputFailed(run, console)) return EndAfterFailedWrite(run, console);
  return run.records.refused ? kFailure : result;
}

}  // namespace tarnlex
