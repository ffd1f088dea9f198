#include "output/event_xml.h"

#include <algorithm>
#include <cstring>
#include <span>

#include "event/slot_text.h"
#include "logs/iso_time.h"
#include "logs/plain_ascii.h"
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

std::string_view LiteralOf(const EventXml& layout, std::uint32_t at, std::uint32_t size) {
  return {layout.literals.data() + at, size};
}

const SubstitutionValue& ValueOf(const Filling& run, const EventXmlStep& step) {
  return step.kind == Kind::kElement ? step.element : run.event.slots[step.slot];
}

bool HasValue(const EventXmlStep& step) {
  return step.kind == Kind::kSlot || step.kind == Kind::kElement;
}

// Whether the text of such a value may have to be escaped.
bool NeedsEscape(const SubstitutionValue& value) {
  return IsArray(value) || IsFreeCompleteText(value.type);
}

char* WriteArray(Filling& run, const SubstitutionValue& array, char* out) {
  std::size_t count = 0;
  char* const end = WriteJoined(run.event, array, count, out, WriteXmlValue);
  run.met_array |= count > 1;
  return end;
}

char* WriteValue(Filling& run, const SubstitutionValue& value, char* out) {
  if (value.type == kEvtVarTypeString) {
    char* const end = WriteXmlAscii(run.event.bytes, value.offset, value.size / 2, out);
    if (end) return end;
  }
  char* const end =
      IsArray(value) ? WriteArray(run, value, out) : WriteXmlValue(run.event, value, out);
  return NeedsEscape(value) ? EscapeXml(out, end, run.replaced) : end;
}

// Whether all slots of an attribute that begins behind the step are left out.
bool IsLeftOut(const Filling& run, const EventXmlStep& begin) {
  const std::span<const EventXmlStep> steps(&begin + 1, begin.skip);
  return std::all_of(steps.begin(), steps.end(), [&run](const EventXmlStep& step) {
    return !HasValue(step) || ValueOf(run, step).type == kEvtVarTypeNull;
  });
}

char* WriteSteps(Filling& run, char* out) {
  const std::vector<EventXmlStep>& steps = run.layout.steps;
  for (std::size_t i = 0; i < steps.size(); ++i) {
    const EventXmlStep& step = steps[i];
    out = CopyPadded(LiteralOf(run.layout, step.literal, step.literal_size), out);
    if (HasValue(step)) out = WriteValue(run, ValueOf(run, step), out);
    if (step.kind == Kind::kPerhapsAttribute && IsLeftOut(run, step)) i += step.skip;
  }
  return out;
}

std::size_t RoomFor(const Filling& run) {
  std::size_t size = run.layout.literals.size() + kCopyBlock;
  for (const EventXmlStep& step : run.layout.steps) {
    if (HasValue(step)) size += MaxSlotText(run.event, ValueOf(run, step));
  }
  return size;
}

}  // namespace

bool WriteEventXml(TextSink& out, const EventStructure& event, const EventXml& layout, bool repeats,
                   std::uint64_t& replaced) {
  Filling run{event, layout};
  char* const end = WriteSteps(run, Reserve(out, RoomFor(run)));
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
