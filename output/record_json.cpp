#include "output/record_json.h"

#include <algorithm>
#include <cstring>
#include <iterator>
#include <span>
#include <utility>

#include "event/document.h"
#include "event/names.h"
#include "event/slot_text.h"
#include "logs/date_time.h"
#include "logs/iso_time.h"
#include "logs/text.h"
#include "output/json_layout.h"
#include "output/json_text.h"

namespace tarnlex {
namespace {

// Where a member of every record comes from: an element of "System", or one of its attributes.
struct SystemField {
  std::string_view name;
  std::string_view element;
  std::string_view attribute;  // empty: the element's text
  JsonRole role = JsonRole::kAsTyped;
};

constexpr SystemField kHead[] = {
    {"Channel", "Channel", ""},
    {"Computer", "Computer", ""},
    {"Provider", "Provider", "Name"},
    {"ProviderGuid", "Provider", "Guid", JsonRole::kGuid},
    {"EventID", "EventID", "", JsonRole::kNumber},
    {"Qualifiers", "EventID", "Qualifiers", JsonRole::kNumber},
    {"Version", "Version", "", JsonRole::kNumber},
    {"Level", "Level", "", JsonRole::kNumber},
};
constexpr SystemField kMiddle[] = {
    {"Task", "Task", "", JsonRole::kNumber},
    {"Opcode", "Opcode", "", JsonRole::kNumber},
    {"Keywords", "Keywords", ""},
    {"EventRecordID", "EventRecordID", "", JsonRole::kNumber},
    {"TimeCreated", "TimeCreated", "SystemTime", JsonRole::kTime},
};
constexpr SystemField kTail[] = {
    {"UserID", "Security", "UserID"},
    {"ProcessID", "Execution", "ProcessID", JsonRole::kNumber},
    {"ThreadID", "Execution", "ThreadID", JsonRole::kNumber},
    {"ActivityID", "Correlation", "ActivityID", JsonRole::kGuid},
    {"RelatedActivityID", "Correlation", "RelatedActivityID", JsonRole::kGuid},
};

struct LayingOut {
  const EventStructure& event;
  const Document& document;
};

JsonPart PartOf(const Item& item) {
  JsonPart part;
  part.is_slot = item.kind == ItemKind::kSlot;
  part.slot = item.slot;
  if (!part.is_slot) part.literal = EscapedJson(item.text);
  return part;
}

JsonMember ValueMember(std::string_view name, std::span<const Item> parts) {
  JsonMember member = MakeMember(name, JsonShape::kValue);
  member.parts.reserve(parts.size());
  for (const Item& part : parts) member.parts.push_back(PartOf(part));
  return member;
}

// Line ends between elements say nothing.
bool IsBlank(const std::vector<Item>& parts) {
  return std::all_of(parts.begin(), parts.end(), [](const Item& part) {
    return part.kind == ItemKind::kText && Trim(part.text).empty();
  });
}

// The text of parts as this one event has them.
std::string TextOf(const EventStructure& event, std::span<const Item> parts) {
  std::string text;
  for (const Item& part : parts) {
    if (part.kind == ItemKind::kText) {
      text += part.text;
      continue;
    }
    const SubstitutionValue& value = event.slots[part.slot];
    std::string room(MaxSlotText(event, value), '\0');
    text.append(room.data(), WriteSlotText(event, value, room.data()));
  }
  return text;
}

void AddElement(LayingOut& run, const ElementView& element, std::string_view name,
                JsonObject& object);

// A "Data" element is told under what it is called; those without a name are a list.
void AddData(LayingOut& run, ElementView element, JsonObject& object) {
  const auto named = std::find_if(element.attributes.begin(), element.attributes.end(),
                                  [](const AttributeView& a) { return a.name == "Name"; });
  if (named != element.attributes.end()) {
    const std::string name = TextOf(run.event, named->parts);
    element.attributes.erase(named);
    AddElement(run, element, name, object);
    return;
  }
  JsonObject unnamed = MakeObject("");
  AddElement(run, element, "Data", unnamed);
  for (JsonMember& member : unnamed.object.members) {
    if (!FindMember(object, member.key)) {
      AddMember(object, MakeMember("Data", JsonShape::kList));
    }
    AddMember(object, std::move(member));
  }
}

void AddChildren(LayingOut& run, const ElementView& element, JsonObject& object) {
  for (const std::uint32_t at : element.children) {
    ElementView child = ViewElement(run.document, at);
    if (child.name == "Data") {
      AddData(run, std::move(child), object);
    } else {
      AddElement(run, child, child.name, object);
    }
  }
}

void AddContent(LayingOut& run, const ElementView& element, JsonObject& object) {
  for (const AttributeView& attribute : element.attributes) {
    if (attribute.parts.empty()) continue;
    AddMember(object, ValueMember(attribute.name, attribute.parts));
  }
  AddChildren(run, element, object);
  for (const AttributeView& instruction : element.instructions) {
    if (instruction.parts.empty()) continue;
    AddMember(object, ValueMember("?" + std::string(instruction.name), instruction.parts));
  }
  if (!IsBlank(element.parts)) AddMember(object, ValueMember("#text", element.parts));
}

// The member that an element is, under `name`.
void AddElement(LayingOut& run, const ElementView& element, std::string_view name,
                JsonObject& object) {
  const bool is_plain =
      element.attributes.empty() && element.children.empty() && element.instructions.empty();
  if (is_plain) {
    if (!element.parts.empty()) AddMember(object, ValueMember(name, element.parts));
    return;
  }
  JsonObject inner = MakeObject(name);
  AddContent(run, element, inner);
  AddMember(object, std::move(inner.object));
}

// Takes the value of a field out of the elements of "System"; no part without one.
std::vector<Item> TakeField(std::vector<ElementView>& elements, const SystemField& field) {
  for (ElementView& element : elements) {
    if (element.name != field.element) continue;
    if (field.attribute.empty()) {
      if (!element.parts.empty()) return std::exchange(element.parts, {});
      continue;
    }
    for (AttributeView& attribute : element.attributes) {
      if (attribute.name != field.attribute || attribute.parts.empty()) continue;
      const std::span<const Item> taken = std::exchange(attribute.parts, {});
      std::vector<Item> parts(taken.begin(), taken.end());
      std::erase_if(element.attributes, [](const AttributeView& a) { return a.parts.empty(); });
      return parts;
    }
  }
  return {};
}

JsonMember FieldMember(std::vector<ElementView>& elements, const SystemField& field) {
  JsonMember member = ValueMember(field.name, TakeField(elements, field));
  member.role = field.role;
  return member;
}

void AddFields(std::vector<ElementView>& elements, std::span<const SystemField> fields,
               JsonMember& run) {
  for (const SystemField& field : fields) {
    JsonMember member = FieldMember(elements, field);
    if (!member.parts.empty()) run.members.push_back(std::move(member));
  }
}

// Members that stand before and between what is said beside the event.
struct Runs {
  JsonMember head;
  JsonMember middle;
  JsonMember tail;
};

// Where the member of that name stands among the steps of a range; -1 without one.
int PositionOf(const JsonSteps& layout, JsonStepRange range, std::string_view name) {
  for (std::uint32_t i = range.begin; i < range.end; ++i) {
    if (NameOf(layout, layout.steps[i]) == name) return static_cast<int>(i);
  }
  return -1;
}

// The member at a position; one without any value for -1.
const JsonStep& StepAt(const RecordJson& layout, int position) {
  static const JsonStep kNone;
  return position < 0 ? kNone : layout.steps.steps[static_cast<std::size_t>(position)];
}

bool HasValueAt(const EventStructure& event, const RecordJson& layout, int position) {
  return position >= 0 && HasValue(event, layout.steps, StepAt(layout, position));
}

std::vector<ElementView> ChildrenOf(const Document& document, const ElementView& element) {
  std::vector<ElementView> children;
  for (const std::uint32_t at : element.children) {
    children.push_back(ViewElement(document, at));
  }
  return children;
}

void LayOutSystem(LayingOut& run, const ElementView& system, Runs& runs, JsonObject& rest) {
  std::vector<ElementView> elements = ChildrenOf(run.document, system);
  AddFields(elements, kHead, runs.head);
  AddFields(elements, kMiddle, runs.middle);
  AddFields(elements, kTail, runs.tail);
  // What has no member of its own.
  for (const ElementView& element : elements) AddElement(run, element, element.name, rest);
}

JsonMember PulledMember(const Plan& plan, const PulledValue& pulled) {
  JsonMember member = MakeMember(pulled.label, JsonShape::kValue);
  for (std::uint32_t i = 0; pulled.value && i < pulled.value->part_count; ++i) {
    const PlanPart& part = plan.parts[pulled.value->first_part + i];
    Item item;
    item.kind = part.literal ? ItemKind::kText : ItemKind::kSlot;
    item.slot = part.slot;
    if (part.literal) item.text = {part.literal, part.size};
    member.parts.push_back(PartOf(item));
  }
  return member;
}

JsonMember PulledData(const Plan& plan, const std::vector<PulledValue>& pulled) {
  JsonObject data = MakeObject("EventData");
  for (const PulledValue& value : pulled) {
    JsonMember member = PulledMember(plan, value);
    if (!member.parts.empty()) AddMember(data, std::move(member));
  }
  return std::move(data.object);
}

// The parts of a value's text, of which `write` gives those that are slots; returns the end.
template <typename Write>
char* WriteParts(const EventStructure& event, const RecordJson& layout, const JsonStep& step,
                 char* out, Write write) {
  for (const JsonStepPart& part : PartsOf(layout.steps, step)) {
    out = part.is_slot ? write(event, event.slots[part.slot], out)
                       : CopyText(LiteralOf(layout.steps, part), out);
  }
  return out;
}

// A value's text without quotes and escapes.
char* WritePlainText(const EventStructure& event, const RecordJson& layout, const JsonStep& step,
                     char* out) {
  return WriteParts(event, layout, step, out, WriteSlotText);
}

// A bound of the same.
std::size_t MaxPlainText(const EventStructure& event, const RecordJson& layout,
                         const JsonStep& step) {
  std::size_t size = 0;
  for (const JsonStepPart& part : PartsOf(layout.steps, step)) {
    size += part.is_slot ? MaxSlotText(event, event.slots[part.slot]) : part.literal_size;
  }
  return size;
}

// By the digit that stands for a level.
constexpr std::string_view kLevelMembers[] = {
    ",\"LevelName\":\"Information\"", ",\"LevelName\":\"Critical\"",
    ",\"LevelName\":\"Error\"",       ",\"LevelName\":\"Warning\"",
    ",\"LevelName\":\"Information\"", ",\"LevelName\":\"Verbose\""};

char* WriteLevelName(const EventStructure& event, const RecordJson& layout, char* out) {
  // What the level says is looked at where its name belongs.
  const char* const end = WritePlainText(event, layout, StepAt(layout, layout.level), out);
  const bool is_level = end - out == 1 && *out >= '0' && *out <= '5';
  return is_level ? CopyText(kLevelMembers[*out - '0'], out) : out;
}

char* WriteNumber(std::string_view key, std::uint64_t number, char* out) {
  return WriteDecimal(number, CopyText(key, out));
}

// Whether the event says of itself that it is of that time, and how the text of it is known.
bool IsTimeCreated(const EventStructure& event, const RecordJson& layout, std::uint64_t filetime) {
  if (layout.time < 0) return false;
  const JsonStep& step = StepAt(layout, layout.time);
  if (step.kind != JsonStepKind::kSlot) return false;
  const SubstitutionValue& value = event.slots[step.slot];
  std::uint64_t created = 0;
  return value.type == kEvtVarTypeFileTime && value.size >= sizeof created &&
         ReadAt(event.bytes, value.offset, created) && created == filetime;
}

// `created` is the end of the member for the time that the event states: mostly the same time.
char* WriteWrittenTime(const EventStructure& event, const RecordJson& layout,
                       std::uint64_t filetime, const char* created, char* out) {
  constexpr std::size_t kTimeText = sizeof "\"2023-03-14T09:26:53.5897932Z\"" - 1;
  if (filetime == 0 || filetime >> 63 != 0) return out;
  out = CopyText(",\"TimeWritten\":", out);
  const bool is_same = IsTimeCreated(event, layout, filetime) && *(created - kTimeText) == '"';
  return is_same ? CopyText({created - kTimeText, kTimeText}, out) : WriteJsonTime(filetime, out);
}

char* WriteRecovered(const Recovery& recovery, char* out) {
  out = CopyText(NameOf(recovery.from), CopyText(",\"Recovered\":{\"From\":\"", out));
  out = CopyText(NameOf(recovery.checked), CopyText("\",\"Checked\":\"", out));
  return CopyText("\"}", out);
}

// The name of a child of the event: another one where that is a member of every record.
std::string NameInEvent(std::string_view name) {
  constexpr std::string_view kOthers[] = {
      "Log",       "LevelName", "TimeWritten", "Offset",         "Report",
      "Recovered", "message",   "datetime",    "timestamp_desc", "EventRecordID"};
  const auto is_name = [name](const auto& field) { return field.name == name; };
  const bool is_taken =
      std::any_of(std::begin(kHead), std::end(kHead), is_name) ||
      std::any_of(std::begin(kMiddle), std::end(kMiddle), is_name) ||
      std::any_of(std::begin(kTail), std::end(kTail), is_name) ||
      std::find(std::begin(kOthers), std::end(kOthers), name) != std::end(kOthers);
  return is_taken ? NumberedName(name, 2) : std::string(name);
}

// More than all that is written beside the layout.
constexpr std::size_t kRecordOverhead = 512;

// A bound of the texts of all slots of a layout, each as often as it stands there.
std::size_t RoomForParts(const EventStructure& event, const RecordJson& layout) {
  std::size_t size = 0;
  for (const JsonStepPart& part : layout.steps.parts) {
    if (part.is_slot) size += MaxSlotText(event, event.slots[part.slot]);
  }
  return size;
}

// A slot's text as a part of a line between quotes.
char* WriteSlotInLine(const EventStructure& event, const SubstitutionValue& value, char* out) {
  std::uint64_t time = 0;
  if (value.type == kEvtVarTypeFileTime &&
      ReadAt(Clip(event.bytes, value.offset, value.size), 0, time) && time >> 63 == 0) {
    return WriteIsoTime(time, out);
  }
  char* const end = WriteSlotText(event, value, out);
  std::replace_if(
      out, end, [](char c) { return static_cast<unsigned char>(c) < ' '; }, ' ');
  return EscapeJson(out, end);
}

char* WriteInLine(const EventStructure& event, const RecordJson& layout, const JsonStep& step,
                  char* out) {
  return WriteParts(event, layout, step, out, WriteSlotInLine);
}

// "name: value" pairs on their way into a message.
struct Pairs {
  const EventStructure& event;
  const RecordJson& layout;
  std::string_view before;  // what stands before the next pair: a comma from the second on
};

// The pairs of what is there in a range; the first value of a list, which is what `name` is given
// for, has that name. Namespaces say nothing of what happened.
char* WritePairs(Pairs& run, JsonStepRange range, std::string_view name, char* out) {
  const JsonSteps& steps = run.layout.steps;
  for (std::uint32_t i = range.begin; i < range.end; i = steps.steps[i].next) {
    const JsonStep& step = steps.steps[i];
    const std::string_view own = NameOf(steps, step);
    const std::string_view called = own.empty() ? std::exchange(name, {}) : own;
    if (step.kind == JsonStepKind::kBegin) {
      out = WritePairs(run, {i + 1, step.next}, step.is_list ? called : std::string_view(), out);
      continue;
    }
    if (!HasValue(run.event, steps, step) || called.starts_with("xmlns")) continue;
    out = CopyText(std::exchange(run.before, ", "), out);
    if (!called.empty()) out = CopyText(": ", CopyText(called, out));
    out = WriteInLine(run.event, run.layout, step, out);
  }
  return out;
}

// What happened, in a line that a person reads.
char* WriteMessage(const JsonRecord& record, const EventStructure& event, const RecordJson& layout,
                   char* out) {
  out = CopyText(",\"message\":\"", out);
  if (record.report.empty()) {
    out = WriteInLine(event, layout, StepAt(layout, layout.title), out);
  } else {
    out = CopyText(record.report.substr(1, record.report.size() - 2), out);
  }
  if (HasValueAt(event, layout, layout.title) || !record.report.empty()) out = CopyText(" ", out);
  out = WriteInLine(event, layout, StepAt(layout, layout.id), out);
  Pairs pairs{event, layout, " "};
  out = WritePairs(pairs, layout.data, {}, out);
  return CopyText("\"", out);
}

// The columns that Timesketch asks for. A record without any time has to have one there.
char* WriteTimesketch(const JsonRecord& record, const EventStructure& event,
                      const RecordJson& layout, char* out) {
  constexpr std::size_t kToMicroseconds = sizeof "2023-03-14T09:26:53.589793" - 1;
  out = WriteMessage(record, event, layout, out);
  char time[40];
  WriteIsoTime(IsValidFiletime(record.time) ? record.time : kUnixEpochFiletime, time);
  out = CopyText({time, kToMicroseconds}, CopyText(",\"datetime\":\"", out));
  return CopyText("+00:00\",\"timestamp_desc\":\"Event Logged\"", out);
}

void FillSteps(const Runs& runs, const JsonMember& data, RecordJson& layout) {
  JsonSteps& steps = layout.steps;
  layout.head = AddSteps(runs.head, steps);
  layout.middle = AddSteps(runs.middle, steps);
  layout.tail = AddSteps(runs.tail, steps);
  layout.data = AddSteps(data, steps);
  layout.tail.end = layout.data.end;
  EndSteps(steps);
  layout.level = PositionOf(steps, layout.head, "Level");
  layout.title = PositionOf(steps, layout.head, "Provider");
  layout.id = PositionOf(steps, layout.head, "EventID");
  layout.record_id = PositionOf(steps, layout.middle, "EventRecordID");
  layout.time = PositionOf(steps, layout.middle, "TimeCreated");
}

}  // namespace

RecordJson LayOutRecordJson(const EventStructure& event, const Document& document, const Plan& plan,
                            const std::vector<PulledValue>* pulled) {
  RecordJson layout;
  layout.made = true;
  layout.pulls = pulled != nullptr;
  LayingOut run{event, document};
  Runs runs;
  JsonObject system = MakeObject("System");
  JsonObject rest = MakeObject("");
  if (!document.items.empty()) {
    const ElementView root = ViewElement(document, 0);
    bool has_system = false;
    for (const std::uint32_t at : root.children) {
      const ElementView child = ViewElement(document, at);
      if (!has_system && child.name == "System") {
        has_system = true;
        LayOutSystem(run, child, runs, system);
      } else if (!pulled) {
        AddElement(run, child, NameInEvent(child.name), rest);
      }
    }
  }
  JsonMember data;
  if (pulled) data.members.push_back(PulledData(plan, *pulled));
  for (JsonMember& member : rest.object.members) data.members.push_back(std::move(member));
  if (!system.object.members.empty()) runs.tail.members.push_back(std::move(system.object));
  FillSteps(runs, data, layout);
  layout.steps.text.shrink_to_fit();
  layout.steps.steps.shrink_to_fit();
  layout.steps.parts.shrink_to_fit();
  return layout;
}

void WriteRecordJson(TextSink& out, const JsonRecord& record, const EventStructure& event,
                     std::size_t slot_room, const RecordJson& layout) {
  const std::size_t once =
      FixedSize(layout.steps) + (layout.pulls ? RoomForParts(event, layout) : slot_room);
  const std::size_t bound = (record.timesketch ? 3 : 1) * once + record.log.size() +
                            2 * record.report.size() + kRecordOverhead +
                            MaxPlainText(event, layout, StepAt(layout, layout.level));
  char* at = Reserve(out, bound);
  at = CopyText(record.log, CopyText("{\"Log\":", at));
  at = WriteSteps(event, layout.steps, layout.head, at);
  at = WriteLevelName(event, layout, at);
  at = WriteSteps(event, layout.steps, layout.middle, at);
  const char* const created = at;
  if (!HasValueAt(event, layout, layout.record_id)) {
    at = WriteNumber(",\"EventRecordID\":", record.record_id, at);
  }
  at = WriteWrittenTime(event, layout, record.written_time, created, at);
  at = WriteSteps(event, layout.steps, layout.tail, at);
  at = WriteNumber(",\"Offset\":", record.file_offset, at);
  if (IsRecovered(record.recovery)) at = WriteRecovered(record.recovery, at);
  if (!record.report.empty()) at = CopyText(record.report, CopyText(",\"Report\":", at));
  if (record.timesketch) at = WriteTimesketch(record, event, layout, at);
  Commit(out, CopyText("}\n", at));
}

}  // namespace tarnlex
