// Whole logs in the forms that are streams: what is written has to be what it claims to be,
// whatever the log holds.
#include <cstdlib>
#include <string>

#include "fuzz/fuzz_target.h"
#include "fuzz/strict_forms.h"
#include "fuzz/whole_log.h"

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

void Require(bool holds) {
  if (!holds) std::abort();
}

}  // namespace
}  // namespace tarnlex

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using tarnlex::RunOptions;
  const tarnlex::Bytes log(data, size);
  tarnlex::Require(tarnlex::IsJsonLines(tarnlex::Written(log, &RunOptions::json_form)));
  tarnlex::Require(tarnlex::IsJsonLines(tarnlex::Written(log, &RunOptions::event_json_form)));
  tarnlex::Require(tarnlex::IsXmlDocument(tarnlex::Written(log, &RunOptions::event_xml_form)));
  return 0;
}
