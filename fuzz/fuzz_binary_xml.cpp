// One binary XML stream, as the binary XML of a record and, in every layout, by itself. The stream
// stands in a buffer of exactly its size first, so that a read past its end is seen.
#include <cstring>
#include <vector>

#include "evtx/compile.h"
#include "evtx/plan_of.h"
#include "evtx/record.h"
#include "evtx/trace.h"
#include "fuzz/fuzz_target.h"

namespace {

using namespace tarnlex;

void ReadAlone(Bytes stream) {
  TextSink trace = MakeSink([](std::string_view) { return true; });
  const auto size = static_cast<std::uint32_t>(stream.size());
  for (const StreamLayout layout : {StreamLayout{true, false}, {false, false}, {false, true}}) {
    ChunkNames names;
    Tree tree;
    CompileStream(stream, 0, size, layout, nullptr, tree);
    CompileStream(stream, 0, size, layout, &names, tree);
    std::uint32_t lines = size;
    TraceStream(trace, stream, 0, size, layout, lines);
  }
}

void ReadAsRecord(Bytes stream) {
  std::vector<std::uint8_t> chunk(kChunkSize);
  const std::uint32_t begin = kFirstRecord + kRecordHeaderSize;
  const auto size =
      static_cast<std::uint32_t>(std::min<std::size_t>(stream.size(), kChunkSize - begin));
  std::memcpy(chunk.data() + begin, stream.data(), size);
  const std::uint32_t record_size = kRecordHeaderSize + size;
  std::memcpy(chunk.data() + kFirstRecord + kRecordSizeField, &record_size, sizeof record_size);
  EvtxDecoder decoder;
  DecodedEvent event;
  BeginChunk(decoder, chunk, kEvtxFileHeaderSize);
  if (FrameRecord(decoder, kFirstRecord, 0, event)) PlanOf(decoder, event);
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size == 0 || size > kChunkSize) return 0;
  ReadAlone({data, size});
  ReadAsRecord({data, size});
  return 0;
}
