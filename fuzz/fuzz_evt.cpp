// A whole EVT file, down to the written table, read through a window and as a whole. Both must give
// the same.
#include <cstdlib>

#include "event/value.h"
#include "evt/plan.h"
#include "evt/structure.h"
#include "evt/walk.h"
#include "fuzz/fuzz_target.h"
#include "fuzz/whole_log.h"

namespace {

using namespace tarnlex;

// The values that the tree of a structure reaches, and how it says that they lie.
void AddSlots(const EventStructure& event, std::string& all) {
  const Stream& stream = event.streams.at(0);
  for (std::uint32_t i = 0; i < stream.nodes; ++i) {
    const Node& node = stream.tree->nodes[i];
    if (node.kind != NodeKind::kSlot) continue;
    if (node.slot >= stream.slot_count) std::abort();
    const SubstitutionValue& value = event.slots[node.slot];
    if (!Fits(event.bytes, value.offset, value.size)) std::abort();
    all += ValueText(event.bytes, value).substr(0, 100);
  }
}

// Everything that a walk gives, as one text.
std::string Gather(EvtCursor& cursor) {
  std::string all;
  std::string text;
  EvtRecord record;
  while (all.size() < (std::size_t{1} << 20) && NextEvtRecord(cursor, record)) {
    const Plan& plan = EvtPlanOf(record);
    for (const char* field : {"source_name", "user_sid", "success_type", "string", "1", "65535"}) {
      const PlanValue* value = FindValue(plan, EvtConditionName(field));
      if (value) all += TextOf(record.structure, plan, *value, text).substr(0, 10'000);
    }
    AddSlots(EvtStructureOf(record), all);
    all += std::to_string(record.offset);
  }
  return all;
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const Bytes log{data, size};
  const InputFile file = FileOf(log);
  for (const Policy policy : {Policy::kLiteral, Policy::kComplete}) {
    EvtCursor whole;
    EvtCursor windowed;
    const bool begun = BeginEvtWalk(log, whole, policy);
    if (begun != BeginEvtFileWalk(file, windowed, policy)) std::abort();
    if (begun && Gather(whole) != Gather(windowed)) std::abort();
    TextSink out = MakeSink([](std::string_view) { return true; });
    RunOptions options;
    options.complete = options.unique = policy == Policy::kComplete;
    DumpLog(file, options, out);
  }
  return 0;
}
