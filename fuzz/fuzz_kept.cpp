// What is kept from record to record and from chunk to chunk makes a log faster to read and changes
// none of its values, at its bounds too: the rows are those of a run that keeps nothing, those of
// each chunk read by itself, and those of a run with a trace. So are the rows that a search takes,
// which looks at the bytes of records whose plans are kept, and at the texts of all others.
#include <algorithm>
#include <cstdlib>
#include <string>
#include <vector>

#include "evtx/evtx_format.h"
#include "fuzz/fuzz_target.h"
#include "fuzz/whole_log.h"
#include "logs/read_file.h"

namespace {

using namespace tarnlex;

// The log's rows in a form that gives each row a line of its own, in any order.
std::vector<std::string> RowsOf(Bytes log, bool complete, bool keeps, bool traced,
                                const std::string& searched = "") {
  std::string text;
  TextSink out = MakeStringSink(text);
  TextSink trace = MakeSink([](std::string_view) { return true; });
  RunOptions options;
  options.bodyfile_form = true;
  options.all_params = true;
  options.complete = complete;
  options.substring = searched;
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

// A text to look for, which the log may hold: the last of its bytes that are no zeros.
std::string SearchedIn(Bytes log) {
  constexpr std::size_t kMost = 3;
  std::string text;
  for (std::size_t at = log.size(); at > 0 && text.size() < kMost; --at) {
    if (log[at - 1] != 0) text.insert(text.begin(), static_cast<char>(log[at - 1]));
  }
  return text.empty() ? "o" : text;
}

bool SearchesAlike(Bytes log, bool complete) {
  for (const std::string& text : {SearchedIn(log), std::string("o"), std::string("ow")}) {
    if (RowsOf(log, complete, true, false, text) != RowsOf(log, complete, false, false, text)) {
      return false;
    }
  }
  return true;
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
  const bool complete = AsksForComplete(log);
  std::vector<std::string> alone;
  bool is_chunks = !complete || (log.size() - std::min(begin, log.size())) % kChunkSize == 0;
  for (; Fits(log, begin, kChunkSize); begin += kChunkSize) {
    const Bytes chunk = log.subspan(begin, kChunkSize);
    if (!HasChunkSignature(chunk, 0)) {
      is_chunks &= !complete;  // it may have records all the same, but is no log by itself
      continue;
    }
    const std::vector<std::string> rows = RowsOf(chunk, complete, true, false);
    alone.insert(alone.end(), rows.begin(), rows.end());
  }
  std::sort(alone.begin(), alone.end());
  const std::vector<std::string> kept = RowsOf(log, complete, true, false);
  if ((is_chunks && kept != alone) || kept != RowsOf(log, complete, false, false) ||
      kept != RowsOf(log, complete, true, true) || !SearchesAlike(log, complete)) {
    std::abort();
  }
  return 0;
}
