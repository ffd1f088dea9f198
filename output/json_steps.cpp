#include "output/json_steps.h"

#include <algorithm>
#include <cstring>

#include "event/slot_text.h"
#include "logs/hex_text.h"
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
  const auto is_literal = [](const JsonPart& part) { return !part.is_slot; };
  if (!member.parts.empty() && std::all_of(member.parts.begin(), member.parts.end(), is_literal)) {
    return JsonStepKind::kText;
  }
  const bool is_slot = member.parts.size() == 1 && member.parts[0].is_slot;
  if (!is_slot) return JsonStepKind::kValue;
  return member.key.empty() ? JsonStepKind::kEntry : JsonStepKind::kSlot;
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

// Puts the text of `size` bytes behind `out` into quotes, or makes of it what its role says.
char* QuoteByRole(JsonRole role, char* out, std::size_t size) {
  *out = '"';
  const std::string_view text(out + 1, size);
  char* const end = out + 1 + size;
  std::uint64_t filetime = 0;
  if (role == JsonRole::kNumber && IsNumber(text)) {
    std::memmove(out, text.data(), text.size());
    return end - 1;
  }
  if (role == JsonRole::kTime && ParseIsoTime(text, filetime)) {
    return WriteJsonTime(filetime, out);
  }
  if (role == JsonRole::kGuid && IsBracedGuid(text)) {
    std::transform(out + 2, end - 1, out + 1, LowerAscii);
    end[-2] = '"';
    return end - 1;
  }
  *end = '"';
  return end + 1;
}

// A text between quotes, which takes part in no typing but for what its role says.
char* WriteQuoted(const Filling& run, const JsonStep& step, char* out) {
  const char* const end = WriteParts(run, step, out + 1);
  return QuoteByRole(step.role, out, static_cast<std::size_t>(end - out - 1));
}

// The value of a member that has no slot.
std::string TextOf(const JsonMember& member) {
  std::string text;
  for (const JsonPart& part : member.parts) text += part.literal;
  const auto size = text.size();
  text = '"' + text + std::string(kMaxNumberRoom, '"');
  text.resize(static_cast<std::size_t>(QuoteByRole(member.role, text.data(), size) - text.data()));
  return text;
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
  if (step.kind == JsonStepKind::kText) AddText(layout, TextOf(member));
  step.text_size = static_cast<std::uint32_t>(layout.text.size()) - step.key;
  step.first_part = static_cast<std::uint32_t>(layout.parts.size());
  step.part_count = static_cast<std::uint32_t>(member.parts.size());
  if (!member.parts.empty()) step.slot = member.parts[0].slot;
  for (const JsonPart& part : member.parts) AddPart(layout, part);
  layout.steps.push_back(step);
  layout.steps[position].next = AddSteps(member, layout).end;
}

// The value of a slot that is not of type null.
char* WriteEntry(const Filling& run, const SubstitutionValue& value, char* out) {
  return IsArray(value) ? WriteJsonEntries(run.event.bytes, value, out)
                        : WriteJsonValue(run.event.bytes, value, out);
}

// The first member's comma becomes the bracket.
char* WriteObject(const Filling& run, const JsonStep& step, char* out) {
  const auto position = static_cast<std::uint32_t>(&step - run.layout.steps.data());
  char* const end = WriteSteps(run.event, run.layout, {position + 1, step.next}, out);
  if (end == out) return out;
  *out = step.is_list ? '[' : '{';
  *end = step.is_list ? ']' : '}';
  return end + 1;
}

// Writes what stands behind the key of a step that is no slot alone; nothing, `out` being returned,
// for no value.
[[gnu::noinline]] char* WriteBehindKey(const EventStructure& event, const JsonSteps& layout,
                                       const JsonStep& step, char* out) {
  const Filling run{event, layout};
  switch (step.kind) {
    case JsonStepKind::kSlot: return WriteQuoted(run, step, out);
    case JsonStepKind::kEntry: {
      const SubstitutionValue& value = event.slots[step.slot];
      return value.type == kEvtVarTypeNull ? out : WriteEntry(run, value, out);
    }
    case JsonStepKind::kValue:
      return HasValue(event, layout, step) ? WriteQuoted(run, step, out) : out;
    case JsonStepKind::kText:
    case JsonStepKind::kBegin: break;
  }
  return WriteObject(run, step, out);
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
                 char* out) {
  const Bytes bytes = event.bytes;
  const SubstitutionValue* const slots = event.slots.room.data();
  const char* const text = layout.text.data();
  const JsonStep* const steps = layout.steps.data();
  for (const JsonStep* next = steps + range.begin; next != steps + range.end;) {
    const JsonStep& step = *next++;
    const std::string_view key{text + step.key, step.text_size};
    if (step.kind == JsonStepKind::kText) {
      out = CopyPadded(key, out);
      continue;
    }
    // Records without values have no slots at all.
    const SubstitutionValue* const value =
        step.kind == JsonStepKind::kSlot ? slots + step.slot : nullptr;
    if (value && value->type == kEvtVarTypeNull) continue;
    char* const at = CopyPadded(key, out);
    const bool is_quick =
        value && (step.role == JsonRole::kAsTyped || value->type != kEvtVarTypeString);
    char* const end =
        is_quick ? WriteJsonValue(bytes, *value, at) : WriteBehindKey(event, layout, step, at);
    next = steps + step.next;
    if (end != at) out = end;
  }
  return out;
}

}  // namespace tarnlex
