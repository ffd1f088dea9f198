// Whole logs in the forms that are streams: what is written has to be what it claims to be,
// whatever the log holds.
#include <cstdlib>
#include <string>

#include "fuzz/fuzz_target.h"
#include "fuzz/strict_forms.h"
#include "fuzz/whole_log.h"
#include "reports/command_language.h"

namespace tarnlex {
namespace {

std::string Written(Bytes log, bool RunOptions::*form) {
  RunOptions options;
  options.*form = true;
  options.complete = true;
  options.recover = AsksForRecovery(log);
  std::string text;
  TextSink out = MakeStringSink(text);
  DumpLog(FileOf(log), options, out);
  return text;
}

// With an account, which is to be as sound.
std::string WrittenAndAccounted(Bytes log, std::string& account) {
  RunOptions options;
  options.json_form = true;
  options.complete = true;
  options.show_status = false;
  options.event_ids = {kAnyEventId};
  std::string text;
  TextSink out = MakeStringSink(text);
  const LogInfo info{.path = "dumped", .kind = {}};
  QueryList queries = PlainQueries(info, options);
  RunState run = RunInto(out);
  run.account.out = MakeStringSink(account);
  RunQueries(FileOf(log), info, queries, options, run);
  EndAccount(run.account, {});
  return text;
}

void Require(bool holds) {
  if (!holds) std::abort();
}

}  // namespace
}  // namespace tarnlex

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using tarnlex::RunOptions;
  const tarnlex::Bytes log(data, size);
  std::string account;
  tarnlex::Require(tarnlex::IsJsonLines(tarnlex::WrittenAndAccounted(log, account)));
  tarnlex::Require(tarnlex::IsJsonLines(account));
  tarnlex::Require(tarnlex::IsJsonLines(tarnlex::Written(log, &RunOptions::event_json_form)));
  tarnlex::Require(tarnlex::IsXmlDocument(tarnlex::Written(log, &RunOptions::event_xml_form)));
  return 0;
}
