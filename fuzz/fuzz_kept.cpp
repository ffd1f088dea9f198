// What is kept from record to record and from chunk to chunk makes a log faster to read and changes
// none of its values, at its bounds too: the rows are those of a run that keeps nothing, those of
// each chunk read by itself, and those of a run with a trace. Of both policies.
#include <algorithm>
#include <cstdlib>
#include <vector>

#include "evtx/evtx_format.h"
#include "fuzz/fuzz_target.h"
#include "fuzz/whole_log.h"
#include "logs/read_file.h"

namespace {

using namespace tarnlex;

// The log's rows in a form that gives each row a line of its own, in any order.
std::vector<std::string> RowsOf(Bytes log, bool complete, bool keeps, bool traced) {
  std::string text;
  TextSink out = MakeStringSink(text);
  TextSink trace = MakeSink([](std::string_view) { return true; });
  RunOptions options;
  options.bodyfile_form = true;
  options.all_params = true;
  options.complete = complete;
  DumpLog(FileOf(log), options, out, traced ? &trace : nullptr, keeps);
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

void ExpectTheSame(Bytes log, std::size_t begin, bool complete) {
  std::vector<std::string> alone;
  for (; Fits(log, begin, kChunkSize); begin += kChunkSize) {
    const Bytes chunk = log.subspan(begin, kChunkSize);
    if (!HasChunkSignature(chunk, 0)) continue;
    const std::vector<std::string> rows = RowsOf(chunk, complete, true, false);
    alone.insert(alone.end(), rows.begin(), rows.end());
  }
  std::sort(alone.begin(), alone.end());
  const std::vector<std::string> kept = RowsOf(log, complete, true, false);
  if (kept != alone || kept != RowsOf(log, complete, false, false) ||
      kept != RowsOf(log, complete, true, true)) {
    std::abort();
  }
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
  for (const bool complete : {false, true}) ExpectTheSame(log, begin, complete);
  return 0;
}
