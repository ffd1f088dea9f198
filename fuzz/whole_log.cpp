#include "fuzz/whole_log.h"

#include "output/record_output.h"
#include "reports/command_language.h"
#include "reports/log_pass.h"
#include "reports/walk_log.h"

namespace tarnlex {

RunState RunInto(TextSink& out, TextSink* trace) {
  RunState run{out, MakeRecordOutput(out, out)};
  if (trace != nullptr) {
    run.diags = MakeSink([trace](std::string_view text) {
      AppendNow(*trace, text);
      return true;
    });
  }
  return run;
}

void RunQueries(const InputFile& file, const LogInfo& log, QueryList& queries,
                const RunOptions& options, RunState& run) {
  LogPass pass{options, run, log, queries};
  UniqueEvents events;
  if (options.unique) BeginUniquePass(pass.unique, events, false);
  WalkLogFile(pass, file);
  EndRecords(run.records, options);
  Flush(*run.records.standard_output);
}

void DumpLog(const InputFile& file, RunOptions options, TextSink& out, TextSink* trace,
             bool keeps) {
  options.event_ids = {kAnyEventId};
  options.show_status = false;
  const LogInfo log{.path = "dumped"};
  QueryList queries = PlainQueries(log, options);
  RunState run = RunInto(out, trace);
  run.evtx_decoder.keeps = keeps;
  RunQueries(file, log, queries, options, run);
}

}  // namespace tarnlex
