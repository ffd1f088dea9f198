#include "output/json_steps.h"

#include <algorithm>
#include <cstring>

#include "event/slot_text.h"
#include "logs/iso_time.h"
#include "logs/parse_number.h"
#include "logs/text.h"
#include "output/json_text.h"

namespace tarnlex {
namespace {

struct Filling {
  const EventStructure& event;
  const JsonSteps& layout;
};

std::uint32_t AddText(JsonSteps& layout, std::string_view text) {
  const auto at = static_cast<std::uint32_t>(layout.text.size());
  layout.text += text;
  return at;
}

void AddPart(JsonSteps& layout, const JsonPart& part) {
  JsonStepPart& added = layout.parts.emplace_back();
  added.is_slot = part.is_slot;
  added.slot = part.slot;
  if (part.is_slot) return;
  added.literal = AddText(layout, part.literal);
  added.literal_size = static_cast<std::uint32_t>(part.literal.size());
}

JsonStepKind KindOf(const JsonMember& member) {
  if (member.shape != JsonShape::kValue) return JsonStepKind::kBegin;
  const bool is_slot = member.parts.size() == 1 && member.parts[0].is_slot;
  if (!is_slot) return JsonStepKind::kValue;
  return member.key.empty() ? JsonStepKind::kEntry : JsonStepKind::kSlot;
}

void AddStep(const JsonMember& member, JsonSteps& layout) {
  const std::size_t position = layout.steps.size();
  JsonStep step;
  step.kind = KindOf(member);
  step.role = member.role;
  step.is_list = member.shape == JsonShape::kList;
  step.key = AddText(layout, ",");
  AddText(layout, member.key);
  step.key_size = static_cast<std::uint32_t>(member.key.size() + 1);
  step.first_part = static_cast<std::uint32_t>(layout.parts.size());
  step.part_count = static_cast<std::uint32_t>(member.parts.size());
  if (!member.parts.empty()) step.slot = member.parts[0].slot;
  for (const JsonPart& part : member.parts) AddPart(layout, part);
  layout.steps.push_back(step);
  layout.steps[position].next = AddSteps(member, layout).end;
}

// The text between quotes; returns the end.
char* WriteParts(const Filling& run, const JsonStep& step, char* out) {
  for (const JsonStepPart& part : PartsOf(run.layout, step)) {
    if (!part.is_slot) {
      out = CopyText(LiteralOf(run.layout, part), out);
      continue;
    }
    char* const end = WriteCompleteText(run.event.bytes, run.event.slots[part.slot], out);
    out = EscapeJson(out, end);
  }
  return out;
}

// Whether a text can be the number that it spells.
bool IsNumber(std::string_view text) {
  return IsDecimal(text) && text.size() <= 19 && (text.size() == 1 || text[0] != '0');
}

bool IsBracedGuid(std::string_view text) {
  constexpr std::size_t kBraced = kGuidTextSize + 2;
  return text.size() == kBraced && text.front() == '{' && text.back() == '}';
}

// A text between quotes, which takes part in no typing but for what its role says.
char* WriteQuoted(const Filling& run, const JsonStep& step, char* out) {
  *out = '"';
  char* const end = WriteParts(run, step, out + 1);
  const std::string_view text(out + 1, static_cast<std::size_t>(end - out - 1));
  std::uint64_t filetime = 0;
  if (step.role == JsonRole::kNumber && IsNumber(text)) {
    std::memmove(out, text.data(), text.size());
    return end - 1;
  }
  if (step.role == JsonRole::kTime && ParseIsoTime(text, filetime)) {
    return WriteJsonTime(filetime, out);
  }
  if (step.role == JsonRole::kGuid && IsBracedGuid(text)) {
    std::transform(out + 2, end - 1, out + 1, LowerAscii);
    end[-2] = '"';
    return end - 1;
  }
  *end = '"';
  return end + 1;
}

// Without its comma where the member is the first.
char* CopyKey(const Filling& run, const JsonStep& step, bool first, char* out) {
  const std::uint32_t left_out = first ? 1 : 0;
  return CopyPadded({run.layout.text.data() + step.key + left_out, step.key_size - left_out}, out);
}

// The value of a slot that is not of type null.
char* WriteSlot(const Filling& run, const JsonStep& step, char* out) {
  const SubstitutionValue& value = run.event.slots[step.slot];
  return step.role != JsonRole::kAsTyped && value.type == kEvtVarTypeString
             ? WriteQuoted(run, step, out)
             : WriteJsonValue(run.event, value, out);
}

char* WriteEntry(const Filling& run, const SubstitutionValue& value, char* out) {
  return IsArray(value) ? WriteJsonEntries(run.event, value, out)
                        : WriteJsonValue(run.event, value, out);
}

// Writes what stands behind a step's key; nothing, `out` being returned, for no value.
char* WriteBehindKey(const Filling& run, const JsonStep& step, std::uint32_t position, char* out) {
  switch (step.kind) {
    case JsonStepKind::kSlot: return WriteSlot(run, step, out);
    case JsonStepKind::kEntry: return WriteEntry(run, run.event.slots[step.slot], out);
    case JsonStepKind::kValue:
      return HasValue(run.event, run.layout, step) ? WriteQuoted(run, step, out) : out;
    case JsonStepKind::kBegin: break;
  }
  *out = step.is_list ? '[' : '{';
  char* const end = WriteSteps(run.event, run.layout, {position + 1, step.next}, true, out + 1);
  if (end == out + 1) return out;
  *end = step.is_list ? ']' : '}';
  return end + 1;
}

}  // namespace

JsonStepRange AddSteps(const JsonMember& object, JsonSteps& layout) {
  JsonStepRange range;
  range.begin = static_cast<std::uint32_t>(layout.steps.size());
  for (const JsonMember& member : object.members) AddStep(member, layout);
  range.end = static_cast<std::uint32_t>(layout.steps.size());
  return range;
}

void EndSteps(JsonSteps& layout) { layout.text.append(kCopyBlock, ' '); }

std::size_t FixedSize(const JsonSteps& layout) {
  return layout.text.size() + kCopyBlock +
         kJsonOverhead * (layout.steps.size() + layout.parts.size());
}

std::span<const JsonStepPart> PartsOf(const JsonSteps& layout, const JsonStep& step) {
  return {layout.parts.data() + step.first_part, step.part_count};
}

std::string_view LiteralOf(const JsonSteps& layout, const JsonStepPart& part) {
  return std::string_view(layout.text).substr(part.literal, part.literal_size);
}

std::string_view NameOf(const JsonSteps& layout, const JsonStep& step) {
  constexpr std::size_t kBefore = 2;  // a comma and a quote
  constexpr std::size_t kBehind = 2;  // a quote and a colon
  if (step.key_size < kBefore + kBehind) return {};
  return std::string_view(layout.text)
      .substr(step.key + kBefore, step.key_size - kBefore - kBehind);
}

bool HasValue(const EventStructure& event, const JsonSteps& layout, const JsonStep& step) {
  const auto parts = PartsOf(layout, step);
  return std::any_of(parts.begin(), parts.end(), [&event](const JsonStepPart& part) {
    return !part.is_slot || event.slots[part.slot].type != kEvtVarTypeNull;
  });
}

char* WriteSteps(const EventStructure& event, const JsonSteps& layout, JsonStepRange range,
                 bool first, char* out) {
  const Filling run{event, layout};
  const JsonStep* const steps = layout.steps.data();
  for (std::uint32_t i = range.begin; i < range.end;) {
    const JsonStep& step = steps[i];
    const std::uint32_t position = i;
    i = step.next;
    const bool is_slot = step.kind == JsonStepKind::kSlot;
    if ((is_slot || step.kind == JsonStepKind::kEntry) &&
        event.slots[step.slot].type == kEvtVarTypeNull) {
      continue;
    }
    char* const value = CopyKey(run, step, first, out);
    char* const end =
        is_slot ? WriteSlot(run, step, value) : WriteBehindKey(run, step, position, value);
    if (end == value) continue;
    out = end;
    first = false;
  }
  return out;
}

}  // namespace tarnlex
