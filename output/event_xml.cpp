#include "output/event_xml.h"

#include <algorithm>
#include <cstring>
#include <span>

#include "event/slot_text.h"
#include "logs/iso_time.h"
#include "logs/text.h"
#include "output/event_text.h"
#include "output/repeated_array.h"
#include "output/xml_text.h"

namespace tarnlex {
namespace {

using Kind = EventXmlStepKind;

// What is being written of one event.
struct Filling {
  const EventStructure& event;
  const EventXml& layout;
  std::uint64_t replaced = 0;
  bool met_array = false;  // of several values, where an element is to stand for each
};

const SubstitutionValue& ValueOf(const Filling& run, const EventXmlStep& step) {
  return step.kind == Kind::kElement ? step.element : run.event.slots[step.slot];
}

bool HasValue(const EventXmlStep& step) {
  return step.kind == Kind::kSlot || step.kind == Kind::kElement;
}

char* WriteArray(Filling& run, const SubstitutionValue& array, char* out) {
  std::size_t count = 0;
  char* const end = WriteJoined(run.event, array, count, out, WriteXmlValue);
  run.met_array |= count > 1;
  return end;
}

// Of a type whose text may have to be escaped.
[[gnu::noinline]] char* WriteFreeValue(Filling& run, const SubstitutionValue& value, char* out) {
  char* const end =
      IsArray(value) ? WriteArray(run, value, out) : WriteXmlValue(run.event.bytes, value, out);
  return EscapeXml(out, end, run.replaced);
}

inline char* WriteValue(Filling& run, const SubstitutionValue& value, char* out) {
  const Bytes bytes = run.event.bytes;
  if (value.type == kEvtVarTypeString) return WriteXmlText(bytes, value, run.replaced, out);
  return IsFreeCompleteText(value.type) ? WriteFreeValue(run, value, out)
                                        : WriteXmlValue(bytes, value, out);
}

// Whether all slots of an attribute that begins behind the step are left out.
bool IsLeftOut(const Filling& run, const EventXmlStep& begin) {
  const std::span<const EventXmlStep> steps(&begin + 1, begin.skip);
  return std::all_of(steps.begin(), steps.end(), [&run](const EventXmlStep& step) {
    return !HasValue(step) || ValueOf(run, step).type == kEvtVarTypeNull;
  });
}

char* WriteSteps(Filling& run, char* out) {
  const SubstitutionValue* const slots = run.event.slots.room.data();
  const char* const literals = run.layout.literals.data();
  const EventXmlStep* const end = run.layout.steps.data() + run.layout.steps.size();
  for (const EventXmlStep* step = run.layout.steps.data(); step < end; ++step) {
    out = CopyPadded({literals + step->literal, step->literal_size}, out);
    switch (step->kind) {
      case Kind::kSlot: out = WriteValue(run, slots[step->slot], out); break;
      case Kind::kElement: out = WriteValue(run, step->element, out); break;
      case Kind::kPerhapsAttribute:
        if (IsLeftOut(run, *step)) step += step->skip;
        break;
      case Kind::kNothing: break;
    }
  }
  return out;
}

// Room for the texts of all slots of a layout that repeats elements.
std::size_t RoomForRepeated(const EventStructure& event, const EventXml& layout) {
  std::size_t size = 0;
  for (const EventXmlStep& step : layout.steps) {
    if (step.kind == Kind::kSlot) size += MaxSlotText(event, event.slots[step.slot]);
  }
  return size;
}

}  // namespace

bool WriteEventXml(TextSink& out, const EventStructure& event, const EventXml& layout, bool repeats,
                   std::size_t slot_room, std::uint64_t& replaced) {
  Filling run{event, layout};
  if (repeats) slot_room = RoomForRepeated(event, layout);
  char* const end = WriteSteps(run, Reserve(out, layout.room + slot_room));
  if (run.met_array && !repeats) return false;
  Commit(out, end);
  replaced += layout.replaced + run.replaced;
  return true;
}

void BeginRecoveredXml(TextSink& out, const Recovery& recovery, std::uint64_t file_offset) {
  Append(out, R"(<?tarnlex-recovered from=")");
  Append(out, NameOf(recovery.from));
  Append(out, R"(" checked=")");
  Append(out, NameOf(recovery.checked));
  Append(out, R"(" offset=")" + std::to_string(file_offset) + R"("?>)");
}

void WriteBareEventXml(TextSink& out, std::uint64_t record_id, std::uint64_t written_time) {
  Append(out, R"(<Event xmlns="http://schemas.microsoft.com/win/2004/08/events/event"><System>)");
  if (written_time != 0 && written_time >> 63 == 0) {
    char time[kMaxNumberRoom];
    char* const end = WriteIsoTime(written_time, time);
    Append(out, "<TimeCreated SystemTime=\"");
    Append(out, {time, static_cast<std::size_t>(end - time)});
    Append(out, "\"/>");
  }
  Append(out,
         "<EventRecordID>" + std::to_string(record_id) + "</EventRecordID></System></Event>\n");
}

}  // namespace tarnlex
