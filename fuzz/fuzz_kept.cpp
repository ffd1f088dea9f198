// What is kept from record to record and from chunk to chunk makes a log faster to read and changes
// none of its values: the rows are those of a run that decodes every record in full, and those of
// each chunk read by itself.
#include <algorithm>
#include <cstdlib>
#include <vector>

#include "evtx/record.h"
#include "evtx/walk.h"
#include "fuzz/fuzz_target.h"
#include "fuzz/whole_log.h"
#include "logs/read_file.h"

namespace {

using namespace tarnlex;

// The log's rows in a form that gives each row a line of its own, in any order.
std::vector<std::string> RowsOf(Bytes log, bool traced) {
  std::string text;
  TextSink out = MakeStringSink(text);
  TextSink trace = MakeSink([](std::string_view) { return true; });
  RunOptions options;
  options.bodyfile_form = true;
  options.all_params = true;
  // With a trace every record is decoded in full.
  DumpLog(FileOf(log), options, out, traced ? &trace : nullptr);
  std::vector<std::string> lines;
  // The first line is the header's.
  for (std::size_t begin = text.find('\n') + 1; begin < text.size();) {
    const std::size_t end = text.find('\n', begin);
    lines.push_back(text.substr(begin, end - begin));
    begin = end + 1;
  }
  std::sort(lines.begin(), lines.end());
  return lines;
}

// Whether the chunk keeps away from the bounds on what a chunk may cost. Who has kept something
// spends less, so that near a bound more comes out.
bool IsFarFromBounds(Bytes chunk) {
  constexpr std::uint64_t kLongestName = 100'000;
  constexpr std::uint64_t kMuchText = std::uint64_t{4} << 20;
  EvtxDecoder decoder;
  EvtxHandlers handlers;
  std::uint64_t text = 0;
  handlers.record = [&text](EvtxDecoder& inner, DecodedEvent& event) {
    DecodeValues(inner, event);
    text += event.max_text;
  };
  WalkSlots(decoder, chunk, 0, handlers);
  return decoder.account.faults[static_cast<std::size_t>(RecordFault::kLimit)] == 0 &&
         decoder.names.chunk_text_left > kLongestName && text < kMuchText;
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const Bytes log{data, size};
  std::size_t begin = 0;
  if (BeginsWith(log, kEvtxFileSignature)) {
    begin = kEvtxFileHeaderSize;
  } else if (!BeginsWith(log, kEvtxChunkSignature)) {
    return 0;
  }
  std::vector<std::string> alone;
  for (; Fits(log, begin, kChunkSize); begin += kChunkSize) {
    const Bytes chunk = log.subspan(begin, kChunkSize);
    if (!HasChunkSignature(chunk, 0)) continue;
    if (!IsFarFromBounds(chunk)) return 0;
    const std::vector<std::string> rows = RowsOf(chunk, false);
    alone.insert(alone.end(), rows.begin(), rows.end());
  }
  std::sort(alone.begin(), alone.end());
  const std::vector<std::string> kept = RowsOf(log, false);
  if (kept != alone || kept != RowsOf(log, true)) std::abort();
  return 0;
}
