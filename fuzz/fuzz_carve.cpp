// An image, down to the written lines or tables. What is found must not depend on where the image
// is cut into the pieces that are read.
#include <cstdlib>
#include <string>
#include <vector>

#include "fuzz/fuzz_target.h"
#include "fuzz/whole_log.h"
#include "reports/carve_image.h"
#include "reports/command_language.h"

namespace {

using namespace tarnlex;

ImageFile ImageOf(Bytes bytes) {
  ImageFile image;
  image.file = FileOf(bytes);
  image.next_stretch = [size = bytes.size()](std::uint64_t offset) {
    return FileStretch{std::min<std::uint64_t>(offset, size), size};
  };
  return image;
}

// What was found, in numbers.
std::string Carve(Bytes bytes, RunOptions options) {
  options.images = {"image"};
  options.complete = true;
  options.show_status = false;
  options.event_ids = {kAnyEventId};
  TextSink out = MakeSink([](std::string_view) { return true; });
  RunState run = RunInto(out);
  LogInfo log{.path = "image"};
  QueryList evtx_queries = PlainQueries(log, options);
  LogPass evtx{options, run, log, evtx_queries};
  log.is_evtx = false;
  QueryList evt_queries = PlainQueries(log, options);
  LogPass evt{options, run, log, evt_queries};
  CarveOpenImage(evtx, evt, ImageOf(bytes));
  const CarveCounts& counts = evtx.account.carved;
  std::string found;
  for (const std::uint64_t count : {counts.chunks, counts.sound_chunks, counts.in_chunks,
                                    counts.outside, counts.evt_headers, counts.evt_records}) {
    found += std::to_string(count) + " ";
  }
  for (const std::uint64_t count : evtx.account.evtx.recovered.checked) {
    found += std::to_string(count) + " ";
  }
  return found + std::to_string(evtx.account.evtx.recovered.copies);
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  RunOptions options;
  options.json_form = size % 2 == 1;
  options.csvgen_form = options.delimited = size % 4 == 2;
  const std::string found = Carve({data, size}, options);
  if (size % 8 != 0) return 0;  // what follows takes a hundred times as long
  // Where this image begins, a piece of the other ends within it.
  constexpr std::size_t kPieceAndAhead = (std::size_t{4} << 20) + 0x40000 + 0x10000;
  std::vector<std::uint8_t> moved(kPieceAndAhead - std::min<std::size_t>(size / 2, 0x20000));
  moved.insert(moved.end(), data, data + size);
  if (Carve(moved, options) != found) std::abort();
  return 0;
}
