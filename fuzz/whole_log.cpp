#include "fuzz/whole_log.h"

#include "output/record_output.h"
#include "reports/command_language.h"
#include "reports/log_pass.h"
#include "reports/walk_log.h"

namespace tarnlex {

void RunQueries(const InputFile& file, QueryList& queries, RunOptions& options, TextSink& out) {
  RecordOutput records = MakeRecordOutput(out);
  options.record_output = &records;
  options.show_status = false;
  LogPass pass{options, options.current_log, queries, {}, {}, {}, {}, false};
  WalkLogFile(pass, file);
  Flush(out);
}

void DumpLog(const InputFile& file, RunOptions& options, TextSink& out) {
  options.event_ids = {kAnyEventId};
  options.current_log.path = "dumped";
  QueryList queries = PlainQueries(options);
  RunQueries(file, queries, options, out);
}

}  // namespace tarnlex
