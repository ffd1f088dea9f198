// A command file, and the queries that its lines make for logs of both containers.
#include "fuzz/fuzz_target.h"
#include "reports/command_file.h"
#include "reports/command_language.h"
#include "reports/command_remarks.h"
#include "reports/evt_query.h"
#include "reports/evtx_query.h"
#include "reports/query_index.h"

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace tarnlex;
  std::vector<TokenList> lines;
  const std::string text = ReadCommandFile(FileOf({data, size}));
  RemarksOnCommands(text, "file");
  ParseCommandText(text, lines);
  LogInfo log{.path = "log", .kind = kKindSecurity};
  for (const bool is_evtx : {true, false}) {
    log.is_evtx = is_evtx;
    QueryList queries;
    BuildQueries(lines, log, {}, false, queries);
    IndexQueries(queries);
    if (is_evtx) {
      PrepareEvtxQueries(queries);
    } else {
      PrepareEvtQueries(queries);
    }
  }
  return 0;
}
