// The content of one chunk: the input, cut or zero-filled, is made a chunk that claims records, so
// that the fuzzer need not invent the frame around it.
#include <cstring>
#include <vector>

#include "evtx/plan_of.h"
#include "evtx/walk.h"
#include "fuzz/fuzz_target.h"
#include "fuzz/whole_log.h"

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace tarnlex;
  std::vector<std::uint8_t> chunk(kChunkSize);
  std::copy_n(data, std::min<std::size_t>(size, chunk.size()), chunk.begin());
  std::memcpy(chunk.data(), kEvtxChunkSignature.data(), kEvtxChunkSignature.size());
  constexpr std::uint64_t kLast = 1000;
  std::memset(chunk.data() + kChunkFirstNumber, 0, 8);
  std::memcpy(chunk.data() + kChunkLastNumber, &kLast, sizeof kLast);
  EvtxDecoder decoder;
  if (AsksForComplete({data, size})) decoder.policy = Policy::kComplete;
  EvtxHandlers handlers;
  std::string scratch;
  handlers.record = [&scratch](EvtxDecoder& inner, DecodedEvent& event) {
    const Plan& plan = PlanOf(inner, event);
    for (const PlanValue& value : plan.values) TextOf(event.structure, plan, value, scratch);
  };
  WalkSlots(decoder, chunk, kEvtxFileHeaderSize, handlers);
  return 0;
}
