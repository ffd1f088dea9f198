// A whole EVTX file or a bare chunk, down to the written table, with the trace switched on for
// every second input.
#include "fuzz/fuzz_target.h"
#include "fuzz/whole_log.h"

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace tarnlex;
  TextSink trace = MakeSink([](std::string_view) { return true; });
  TextSink out = MakeSink([](std::string_view) { return true; });
  RunOptions options;
  options.csvgen_form = size % 4 == 3;
  options.delimited = size % 4 > 1;
  options.recover = AsksForRecovery({data, size});
  options.complete = options.recover || AsksForComplete({data, size});
  options.unique = size % 8 > 3;
  DumpLog(FileOf({data, size}), options, out, size % 2 == 1 ? &trace : nullptr);
  return 0;
}
