#include "output/event_json.h"

#include <cstring>
#include <span>
#include <string_view>

#include "event/slot_text.h"
#include "logs/text.h"
#include "output/event_text.h"
#include "output/json_text.h"
#include "output/repeated_array.h"

namespace tarnlex {
namespace {

using Kind = EventJsonStepKind;

// What is being written of one event.
struct Filling {
  const EventStructure& event;
  const EventJson& layout;
  const SubstitutionValue* slots = event.slots.room.data();
  const char* literals = layout.literals.data();
  char* begin = nullptr;  // of attributes
  char* list = nullptr;   // where its first value stands
  std::size_t values = 0;
  bool met_array = false;  // of several values, where an element is to stand for each
};

std::string_view LiteralOf(const Filling& run, std::uint32_t at, std::uint32_t size) {
  return {run.literals + at, size};
}

const SubstitutionValue& ValueOf(const Filling& run, const EventJsonPart& part) {
  return part.is_element ? part.element : run.slots[part.slot];
}

std::span<const EventJsonPart> PartsOf(const Filling& run, const EventJsonStep& step) {
  return {run.layout.parts.data() + step.first_part, step.part_count};
}

char* WriteArrayText(Filling& run, const SubstitutionValue& array, std::size_t& count, char* out) {
  char* const end = WriteJoined(run.event, array, count, out, WriteEventText);
  run.met_array |= count > 1;
  return end;
}

char* WriteText(Filling& run, const EventJsonPart& part, char* out) {
  if (part.is_literal) return CopyText(LiteralOf(run, part.literal, part.literal_size), out);
  const SubstitutionValue& value = ValueOf(run, part);
  std::size_t count = 0;
  char* const end = IsArray(value) ? WriteArrayText(run, value, count, out)
                                   : WriteEventText(run.event.bytes, value, out);
  return EscapeJson(out, end);
}

// An array is a text, even an empty one if it has a value.
char* WriteArray(Filling& run, const SubstitutionValue& array, char* out) {
  std::size_t count = 0;
  char* end = WriteArrayText(run, array, count, out + 1);
  if (count == 0) return out;
  end = EscapeJson(out + 1, end);
  *out = *end = '"';
  return end + 1;
}

bool IsLeftOut(const Filling& run, const EventJsonPart& part) {
  return part.optional && ValueOf(run, part).type == kEvtVarTypeNull;
}

// The part that is all of a value; null where there are more.
const EventJsonPart* OnlyPart(const Filling& run, std::span<const EventJsonPart> parts) {
  if (parts.size() == 1) return parts.data();
  const EventJsonPart* only = nullptr;
  for (const EventJsonPart& part : parts) {
    if (IsLeftOut(run, part)) continue;
    if (only) return nullptr;
    only = &part;
  }
  return only;
}

// A value of any number of parts; nothing without a text.
[[gnu::noinline]] char* WriteParts(Filling& run, const EventJsonStep& step, char* out) {
  const auto parts = PartsOf(run, step);
  const EventJsonPart* const only = OnlyPart(run, parts);
  if (only && !only->is_literal) {
    const SubstitutionValue& value = ValueOf(run, *only);
    return IsArray(value) ? WriteArray(run, value, out)
                          : WriteEventJsonValue(run.event.bytes, value, out);
  }
  char* end = out + 1;
  for (const EventJsonPart& part : parts) end = WriteText(run, part, end);
  if (end == out + 1) return out;
  *out = *end = '"';
  return end + 1;
}

// The value of a step, which mostly is one slot.
inline char* WriteValue(Filling& run, const EventJsonStep& step, char* out) {
  if (step.slot == kNoSlot) return step.part_count == 0 ? out : WriteParts(run, step, out);
  const SubstitutionValue& value = run.slots[step.slot];
  if (value.type == kEvtVarTypeNull) return out;
  return IsArray(value) ? WriteParts(run, step, out)
                        : WriteEventJsonValue(run.event.bytes, value, out);
}

// Writes what stands for a value without a text.
char* WriteEmpty(Kind kind, char* out) {
  const bool is_data = kind == Kind::kDataValue || kind == Kind::kEndData;
  return is_data ? CopyText("\"\"", out) : CopyText("null", out);
}

// The text of an element with attributes, and its end.
char* WriteTextMember(Filling& run, const EventJsonStep& step, char* out) {
  if (step.part_count == 0) return out;
  char* const end = WriteValue(run, step, out);
  return end != out ? CopyText("}", end) : CopyText(kEndOfBoth, out - kTextBehindAttributes.size());
}

// The brace in front of attributes; where the first one with a text may begin.
char* BraceOf(const Filling& run) { return run.begin + kAttributesBegin.size() - 1; }

// Whether an attribute has been written in front of the literal of a step, which ends at `out`. If
// so, its brace, which the comma of the first one stands on, is put back.
bool HasAttributes(const Filling& run, const EventJsonStep& step, const char* out) {
  char* const brace = BraceOf(run);
  if (out - step.literal_size == brace) return false;
  *brace = '{';
  return true;
}

// An element of whose attributes none has a text is its value alone.
char* EndElement(Filling& run, const EventJsonStep& step, char* out) {
  if (HasAttributes(run, step, out)) return WriteTextMember(run, step, out);
  char* const end = WriteValue(run, step, run.begin);
  return end != run.begin ? end : WriteEmpty(step.kind, end);
}

char* BeginContent(const Filling& run, const EventJsonStep& step, char* out) {
  return HasAttributes(run, step, out) ? out : CopyText("{", run.begin);
}

// With a comma behind.
char* WriteInnerText(Filling& run, const EventJsonStep& step, char* out) {
  char* const at = CopyText("\"#text\":", out);
  char* const end = WriteValue(run, step, at);
  return end != at ? CopyText(",", end) : out;
}

char* BeginList(Filling& run, char* out) {
  *out = '[';
  run.list = out + 1;
  run.values = 0;
  return out + 1;
}

char* BeginEntry(Filling& run, char* out) { return run.values++ > 0 ? CopyText(",", out) : out; }

char* WriteListValue(Filling& run, const EventJsonStep& step, char* out) {
  const auto parts = PartsOf(run, step);
  const bool is_array =
      parts.size() == 1 && !parts[0].is_literal && IsArray(ValueOf(run, parts[0]));
  ArrayElements elements;
  if (is_array) elements = ElementsOf(run.event.bytes, ValueOf(run, parts[0]));
  SubstitutionValue first;
  SubstitutionValue element;
  const bool several = is_array && NextElement(elements, first) && NextElement(elements, element);
  if (!several) {
    char* const begin = BeginEntry(run, out);
    char* const end = WriteValue(run, step, begin);
    return end != begin ? end : CopyText("\"\"", begin);
  }
  elements = ElementsOf(run.event.bytes, ValueOf(run, parts[0]));
  while (NextElement(elements, element)) {
    out = BeginEntry(run, out);
    char* const end = WriteEventJsonValue(run.event.bytes, element, out);
    out = end != out ? end : CopyText("\"\"", out);
  }
  return out;
}

char* EndList(const Filling& run, char* out) {
  if (run.values != 1) return CopyText("]", out);
  std::memmove(run.list - 1, run.list, static_cast<std::size_t>(out - run.list));
  return out - 1;
}

// Steps that are no value alone; what stands in front of them has been written.
[[gnu::noinline]] char* WriteMark(Filling& run, const EventJsonStep& step, char* out) {
  switch (step.kind) {
    case Kind::kEnd:
    case Kind::kEndData: return EndElement(run, step, out);
    case Kind::kEndFixed: return WriteTextMember(run, step, out);
    case Kind::kBeginContent: return BeginContent(run, step, out);
    case Kind::kText: return WriteInnerText(run, step, out);
    case Kind::kBeginList: return BeginList(run, out);
    case Kind::kEntry: return BeginEntry(run, out);
    case Kind::kListValue: return WriteListValue(run, step, out);
    case Kind::kEndList: return EndList(run, out);
    case Kind::kValue:
    case Kind::kDataValue:
    case Kind::kFirstAttribute:
    case Kind::kAttribute:
    case Kind::kNothing: break;
  }
  return out;
}

// Most steps are values.
inline char* WriteStep(Filling& run, const EventJsonStep& step, char* out) {
  char* const at = CopyPadded(LiteralOf(run, step.literal, step.literal_size), out);
  switch (step.kind) {
    case Kind::kValue:
    case Kind::kDataValue: {
      char* const end = WriteValue(run, step, at);
      return end != at ? end : WriteEmpty(step.kind, at);
    }
    case Kind::kAttribute: {
      char* const end = WriteValue(run, step, at);
      return end != at ? end : out;
    }
    case Kind::kFirstAttribute: {
      run.begin = at - step.key_size - kAttributesBegin.size();
      char* const end = WriteValue(run, step, at);
      return end != at ? end : BraceOf(run);
    }
    case Kind::kNothing: return at;
    case Kind::kEnd:
      if (step.part_count == 0)
        return HasAttributes(run, step, at) ? at : WriteEmpty(step.kind, run.begin);
      [[fallthrough]];
    default: return WriteMark(run, step, at);
  }
}

// What every line ends with.
constexpr std::string_view kLineEnd = "}\n";

// Room for the texts of all slots of a layout that repeats elements, and what stands in them.
std::size_t RoomForParts(const EventStructure& event, const EventJson& layout) {
  std::size_t size = 0;
  for (const EventJsonPart& part : layout.parts) {
    if (!part.is_literal && !part.is_element) size += MaxSlotText(event, event.slots[part.slot]);
  }
  return size;
}

}  // namespace

bool WriteEventJson(TextSink& out, const EventStructure& event, const EventJson& layout,
                    bool repeats, std::size_t slot_room, std::string_view beside) {
  Filling run{event, layout};
  if (repeats) slot_room = RoomForParts(event, layout);
  char* at = Reserve(out, layout.room + slot_room + beside.size());
  for (const EventJsonStep& step : layout.steps) at = WriteStep(run, step, at);
  if (run.met_array && !repeats) return false;
  if (!beside.empty()) at = CopyText(kLineEnd, CopyText(beside, at - kLineEnd.size()));
  Commit(out, at);
  return true;
}

void WriteBareEventJson(TextSink& out, std::uint64_t record_id, std::uint64_t written_time,
                        std::string_view beside) {
  Append(out, R"({"Event":{"System":{)");
  char time[kMaxNumberRoom];
  char* const end = WriteEventTime(written_time, time);
  if (written_time != 0 && end != time) {
    Append(out, R"("TimeCreated":{"#attributes":{"SystemTime":")");
    Append(out, {time, static_cast<std::size_t>(end - time)});
    Append(out, R"("}},)");
  }
  Append(out, R"("EventRecordID":)" + std::to_string(record_id) + "}}");
  Append(out, beside);
  Append(out, kLineEnd);
}

std::string BesideEventJson(const Recovery& recovery, std::uint64_t file_offset) {
  if (!IsRecovered(recovery)) return {};
  return R"(,"Recovered":{"From":")" + std::string(NameOf(recovery.from)) + R"(","Checked":")" +
         std::string(NameOf(recovery.checked)) + R"(","Offset":)" + std::to_string(file_offset) +
         "}";
}

}  // namespace tarnlex
