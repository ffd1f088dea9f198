// A whole EVT file, down to the written table, read through a window and as a whole. Both must give
// the same.
#include <cstdlib>

#include "evt/fields.h"
#include "evt/walk.h"
#include "fuzz/fuzz_target.h"
#include "fuzz/whole_log.h"

namespace {

using namespace tarnlex;

// Everything that a walk gives, as one text.
std::string Gather(EvtCursor& cursor) {
  std::string all;
  std::string text;
  EvtRecord record;
  while (all.size() < (std::size_t{1} << 20) && NextEvtRecord(cursor, record)) {
    for (const char* field : {"source_name", "user_sid", "success_type", "string", "1", "65535"}) {
      if (FieldText(record, field, text)) all += text.substr(0, 10'000);
    }
    all += std::to_string(record.offset);
  }
  return all;
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const Bytes log{data, size};
  const InputFile file = FileOf(log);
  EvtCursor whole;
  EvtCursor windowed;
  const bool begun = BeginEvtWalk(log, whole);
  if (begun != BeginEvtFileWalk(file, windowed)) std::abort();
  if (begun && Gather(whole) != Gather(windowed)) std::abort();
  TextSink out = MakeSink([](std::string_view) { return true; });
  RunOptions options;
  DumpLog(file, options, out);
  return 0;
}
