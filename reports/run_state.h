// What a run works with beside its settings: where it writes and speaks, what it counts, what it
// keeps from log to log, and which log it is at. The run owns it and hands it down.
#pragma once

#include <functional>
#include <optional>
#include <vector>

#include "evtx/decoder.h"
#include "logs/log_info.h"
#include "logs/text_sink.h"
#include "output/record_output.h"
#include "output/statistics.h"
#include "reports/carved_logs.h"
#include "reports/command_language.h"
#include "reports/progress.h"
#include "reports/run_account.h"
#include "reports/unique.h"

namespace tarnlex {

struct RunState {
  TextSink& messages;  // standard error
  RecordOutput records;
  std::optional<TextSink> diags = {};                 // open with -diags
  Statistics statistics = {};                         // of the logs so far; counted with -stats
  RunAccount account = {};                            // of what was read and what was not
  EvtxDecoder evtx_decoder = {};                      // knows what earlier logs have taught it
  std::vector<TokenList> command_lines = {};          // of the command file, taken apart
  LogTable logs = {};                                 // with -pipe only the one being processed
  const LogInfo* current_log = nullptr;               // the entry of `logs` that is being processed
  std::function<void(const LogInfo&)> finished = {};  // told of each log that nothing is left of
  Progress progress = {};
  std::vector<UniqueEvents> unique = {};       // with -unique, of each report
  std::optional<CarvedLogs> carved_logs = {};  // with -carve_out
};

// Where decoding traces to; null without -diags.
inline TextSink* TraceOf(RunState& run) { return run.diags ? &*run.diags : nullptr; }

}  // namespace tarnlex
