#include "event/flatten.h"

#include <algorithm>
#include <bit>
#include <utility>

#include "event/names.h"
#include "event/references.h"
#include "event/slot_text.h"

namespace tarnlex {
namespace {

// A name made of values costs as much as so many tokens, and its text more.
constexpr std::uint32_t kWorkPerName = 8;
constexpr std::size_t kTextPerToken = 16;
constexpr std::size_t kMostNameText = std::size_t{256} << 10;  // of one name

struct Flattening {
  const EventStructure& event;
  NameBudget& budget;
  FlattenRoom& room;
  Plan& plan;
};

PlanPart LiteralPart(std::string_view text) {
  // An empty literal still needs an address, since a null one means a slot.
  return {text.empty() ? "" : text.data(), static_cast<std::uint32_t>(text.size()), 0, false};
}

// Where a name stands in the table of those seen, or the empty place where it belongs.
std::size_t PlaceOf(const Flattening& run, std::string_view name) {
  const std::vector<std::uint32_t>& seen = run.room.seen;
  std::size_t at = HashName(name) & (seen.size() - 1);
  while (seen[at] != 0 && run.plan.values[seen[at] - 1].name != name) {
    at = (at + 1) & (seen.size() - 1);
  }
  return at;
}

void GrowSeen(Flattening& run) {
  run.room.seen.assign(2 * run.room.seen.size(), 0);
  for (std::size_t i = 0; i < run.plan.values.size(); ++i) {
    run.room.seen[PlaceOf(run, run.plan.values[i].name)] = static_cast<std::uint32_t>(i + 1);
  }
}

std::string_view KeepText(Flattening& run, std::string text) {
  return run.plan.texts.emplace_back(std::move(text));
}

bool TakeNameWork(Flattening& run, std::size_t work) {
  const bool enough = work <= run.budget.work_left;
  run.budget.work_left -= enough ? static_cast<std::uint32_t>(work) : run.budget.work_left;
  run.budget.spent |= !enough;
  return enough;
}

bool TakeNumberedText(Flattening& run, std::size_t size) {
  const bool enough = size <= run.budget.numbered_left;
  if (enough) {
    run.budget.numbered_left -= size;
    run.plan.numbered_text += size;
  }
  run.budget.spent |= !enough;
  return enough;
}

// Makes a name for a later value of the name that the value at `first` has, by the next number that
// gives one of its own; `place` gets where that belongs among those seen. False when there is
// nothing left to pay for it.
[[gnu::noinline]] bool NumberName(Flattening& run, std::uint32_t first, std::string_view& name,
                                  std::size_t& place) {
  std::vector<PlanValue>& values = run.plan.values;
  Repeats& repeats = run.room.repeats.try_emplace(first, Repeats{first, 1}).first->second;
  std::string numbered;
  do {
    if (!TakeNameWork(run, 1 + name.size() / kTextPerToken)) return false;
    numbered = NumberedName(name, ++repeats.number);
    place = PlaceOf(run, numbered);
  } while (run.room.seen[place] != 0);
  if (!TakeNumberedText(run, numbered.size())) return false;
  const auto position = static_cast<std::uint32_t>(values.size());
  PlanValue& before = values[repeats.last];
  (repeats.last == first ? before.first_later : before.next_of_name) = position;
  repeats.last = position;
  name = KeepText(run, std::move(numbered));
  return true;
}

// A value without any part that gives something is none.
void AddValue(Flattening& run, std::string_view name, const std::vector<PlanPart>& parts) {
  if (parts.empty()) return;
  Plan& plan = run.plan;
  if (name.empty() && IsComplete(run.event)) name = kUnnamedName;  // no other may share its column
  std::size_t place = PlaceOf(run, name);
  const std::uint32_t seen = run.room.seen[place];
  if (seen != 0 && !(IsComplete(run.event) && NumberName(run, seen - 1, name, place))) return;
  if (name == "EventID") plan.event_id = static_cast<int>(plan.values.size());
  plan.values.push_back({name, static_cast<std::uint32_t>(plan.parts.size()),
                         static_cast<std::uint32_t>(parts.size())});
  plan.parts.insert(plan.parts.end(), parts.begin(), parts.end());
  run.room.seen[place] = static_cast<std::uint32_t>(plan.values.size());
  if (2 * plan.values.size() > run.room.seen.size()) GrowSeen(run);
}

bool AllLiteral(const std::vector<PlanPart>& parts) {
  return std::all_of(parts.begin(), parts.end(),
                     [](const PlanPart& part) { return part.literal != nullptr; });
}

// False when there is nothing left to pay for a name: few texts may be many parts, again and again.
bool JoinLiterals(Flattening& run, const std::vector<PlanPart>& parts, std::string_view& name) {
  if (parts.size() == 1) name = {parts[0].literal, parts[0].size};
  if (parts.size() < 2) return true;
  std::string text;
  for (const PlanPart& part : parts) {
    if (!TakeNameWork(run, part.size / kTextPerToken)) return false;
    text.append(part.literal, part.size);
  }
  name = KeepText(run, std::move(text));
  return true;
}

// False when there is nothing left to pay for a name.
bool ComputeName(Flattening& run, const std::vector<PlanPart>& parts, std::string_view& name) {
  run.plan.keepable = false;
  if (!TakeNameWork(run, kWorkPerName)) return false;
  Plan piece;
  piece.parts = parts;
  std::string text;
  for (std::uint32_t i = 0; i < parts.size(); ++i) {
    const PlanValue value{{}, i, 1};
    if (IsLeftOut(run.event, parts[i])) continue;
    // The text is made whether or not the event keeps it.
    if (!TakeNameWork(run, MaxTextSize(run.event, piece, value) / kTextPerToken)) return false;
    text += TextOf(run.event, piece, value, run.room.scratch);
    if (text.size() > kMostNameText) break;
  }
  if (text.size() > run.budget.text_left) text.clear();
  run.budget.text_left -= text.size();
  name = KeepText(run, std::move(text));
  return true;
}

OpenElement* Innermost(OpenStream& stream) {
  return stream.depth == 0 ? nullptr : &stream.elements[stream.depth - 1];
}

// Unnamed "Data" takes its number before anything inside of it is met.
void BeforeNested(Flattening& run, OpenStream& stream) {
  OpenElement* element = Innermost(stream);
  if (!element || !element->is_data || element->named || element->number != 0) return;
  element->number = ++run.room.unnamed_data;
}

std::string_view ProviderName(Flattening& run, std::string_view attribute) {
  if (attribute == "Name") return "Provider Name";
  if (attribute == "Guid") return "Provider Guid";
  if (attribute == "EventSourceName") return "Provider EventSourceName";
  return KeepText(run, "Provider " + std::string(attribute));
}

// An attribute without any value names nothing; the Name of a "Data" element names its text.
void EndAttribute(Flattening& run, OpenStream& stream) {
  if (!stream.in_attribute) return;
  stream.in_attribute = false;
  OpenElement* element = Innermost(stream);
  if (element && element->is_data && stream.attribute == "Name") {
    if (!element->named) element->name_text = stream.attribute_text;
    element->named = true;
    return;
  }
  if (stream.attribute_text.empty()) return;
  const bool of_provider = element && element->is_provider;
  const std::size_t before = run.plan.values.size();
  AddValue(run, of_provider ? ProviderName(run, stream.attribute) : stream.attribute,
           stream.attribute_text);
  if (run.plan.system_time < 0 && run.plan.values.size() > before && element &&
      element->name == "TimeCreated" && stream.attribute == "SystemTime") {
    run.plan.system_time = static_cast<int>(before);
  }
}

// What a "Data" element calls its text; false when there is nothing left to pay for the name.
bool NameData(Flattening& run, const OpenElement& element, std::string_view& name) {
  if (!element.named) {
    name = KeepText(run, UnnamedDataName(element.number));
    return true;
  }
  if (!AllLiteral(element.name_text)) return ComputeName(run, element.name_text, name);
  if (!JoinLiterals(run, element.name_text, name)) return false;
  run.plan.odd_names |= !IsPrintable(name);
  return true;
}

void AddData(Flattening& run, OpenElement& element) {
  if (!element.named && element.number == 0) element.number = ++run.room.unnamed_data;
  if (element.text.empty()) return;
  std::string_view name;
  if (NameData(run, element, name)) AddValue(run, name, element.text);
}

void EndElement(Flattening& run, OpenStream& stream) {
  OpenElement* element = Innermost(stream);
  if (!element) return;
  if (element->is_data) {
    AddData(run, *element);
  } else {
    AddValue(run, element->name, element->text);
  }
  --stream.depth;
}

void OpenStart(Flattening& run, OpenStream& stream, std::string_view name) {
  BeforeNested(run, stream);
  if (stream.elements.size() == stream.depth) stream.elements.emplace_back();
  OpenElement& element = stream.elements[stream.depth++];
  element.name = name;
  element.is_data = name == "Data";
  element.is_provider = name == "Provider";
  element.named = false;
  element.number = 0;
  element.text.clear();
  element.name_text.clear();
}

// False outside of any element of the stream.
bool AddToStream(OpenStream& stream, const PlanPart& part) {
  if (stream.in_attribute) {
    stream.attribute_text.push_back(part);
  } else if (OpenElement* element = Innermost(stream)) {
    element->text.push_back(part);
  } else {
    return false;
  }
  return true;
}

// A text outside of any element of its stream belongs to the one that the stream stands in, which
// the literal policy does not look for.
[[gnu::noinline]] void AddOutside(Flattening& run, std::size_t level, const PlanPart& part) {
  if (!IsComplete(run.event)) return;
  while (level > 0 && !AddToStream(run.room.levels[level - 1], part)) --level;
}

void AddPart(Flattening& run, OpenStream& stream, std::size_t level, const PlanPart& part) {
  if (!AddToStream(stream, part)) AddOutside(run, level, part);
}

void FlattenStream(Flattening& run, std::uint32_t number, std::size_t level);

// What leads to other streams is flattened where it stands.
void FlattenGroup(Flattening& run, OpenStream& stream, std::size_t level) {
  const Stream& own = *stream.stream;
  if (stream.next_group == own.group_count) return;
  const StreamGroup group = run.event.groups[own.first_group + stream.next_group++];
  for (std::uint32_t i = 0; i < group.count; ++i) FlattenStream(run, group.first + i, level + 1);
}

// A slot past the array gives nothing, binary XML the values inside of it.
void AddSlot(Flattening& run, OpenStream& stream, const Node& node, std::size_t level) {
  if (node.slot >= stream.stream->slot_count) return;
  const std::uint32_t slot = stream.stream->first_slot + node.slot;
  if (run.event.slots[slot].type == kEvtVarTypeEvtBXml) {
    if (!stream.in_attribute) BeforeNested(run, stream);
    FlattenGroup(run, stream, level);
  } else {
    AddPart(run, stream, level, {nullptr, 0, slot, node.optional});
  }
}

void AddCharacter(Flattening& run, OpenStream& stream, std::uint32_t i, std::size_t level) {
  const Stream& own = *stream.stream;
  std::string text = CharacterText({own.tree->nodes.data(), own.nodes}, i);
  if (!text.empty()) {
    AddPart(run, stream, level, LiteralPart(KeepText(run, std::move(text))));
  }
}

void AddEntity(Flattening& run, OpenStream& stream, std::string_view name, std::size_t level) {
  for (const std::string_view part : EntityParts(name)) {
    if (!part.empty()) AddPart(run, stream, level, LiteralPart(part));
  }
}

// What ends a stream under the literal policy.
void ApplySpecial(Flattening& run, OpenStream& stream, std::uint32_t i, std::size_t level) {
  const Node& node = stream.stream->tree->nodes[i];
  switch (node.kind) {
    case NodeKind::kCData:
    case NodeKind::kInstructionData: AddPart(run, stream, level, LiteralPart(node.text)); break;
    case NodeKind::kCharacter: AddCharacter(run, stream, i, level); break;
    case NodeKind::kEntity: AddEntity(run, stream, node.text, level); break;
    default: break;  // ends of start tags, targets of instructions, and what cannot be read
  }
}

// Whether the node goes on with the value of an attribute.
bool IsText(NodeKind kind) {
  return kind == NodeKind::kText || kind == NodeKind::kSlot || kind == NodeKind::kCData ||
         kind == NodeKind::kCharacter || kind == NodeKind::kEntity;
}

void Apply(Flattening& run, OpenStream& stream, std::uint32_t i, std::size_t level) {
  const Node& node = stream.stream->tree->nodes[i];
  if (!IsText(node.kind)) EndAttribute(run, stream);
  switch (node.kind) {
    case NodeKind::kElement: OpenStart(run, stream, node.text); break;
    case NodeKind::kElementEnd: EndElement(run, stream); break;
    case NodeKind::kAttribute:
      stream.in_attribute = true;
      stream.attribute = node.text;
      stream.attribute_text.clear();
      break;
    case NodeKind::kText: AddPart(run, stream, level, LiteralPart(node.text)); break;
    case NodeKind::kSlot: AddSlot(run, stream, node, level); break;
    case NodeKind::kInstance:
      BeforeNested(run, stream);
      FlattenGroup(run, stream, level);
      break;
    default:
      if (IsComplete(run.event)) ApplySpecial(run, stream, i, level);
  }
}

void FlattenStream(Flattening& run, std::uint32_t number, std::size_t level) {
  if (run.room.levels.size() == level) run.room.levels.emplace_back();
  OpenStream& stream = run.room.levels[level];
  stream.stream = &run.event.streams[number];
  stream.depth = 0;
  stream.in_attribute = false;
  stream.next_group = 0;
  if (stream.stream->tree) {
    for (std::uint32_t i = 0; i < stream.stream->nodes; ++i) Apply(run, stream, i, level);
  }
  EndAttribute(run, stream);
  while (stream.depth > 0) EndElement(run, stream);
  while (stream.next_group < stream.stream->group_count) FlattenGroup(run, stream, level);
}

void FindTimeSlot(Plan& plan) {
  if (plan.system_time < 0) return;
  const PlanValue& value = plan.values[static_cast<std::size_t>(plan.system_time)];
  const PlanPart& part = plan.parts[value.first_part];
  if (value.part_count == 1 && !part.literal) plan.time_slot = static_cast<int>(part.slot);
}

// What is said of the plan's parts as a whole.
void DescribeParts(Flattening& run) {
  FindTimeSlot(run.plan);
  std::vector<std::uint8_t>& used = run.room.used_slots;
  used.assign(run.event.slots.count, 0);
  for (const PlanPart& part : run.plan.parts) {
    if (part.literal) {
      run.plan.literal_text += part.size;
    } else {
      run.plan.slots_once &= used[part.slot] == 0;
      used[part.slot] = 1;
    }
  }
}

}  // namespace

void Flatten(const EventStructure& event, NameBudget& budget, FlattenRoom& room, Plan& plan) {
  constexpr std::size_t kSeenAtFirst = 256;
  // Neighbours are mostly alike.
  room.seen.assign(std::max(kSeenAtFirst, std::bit_ceil(2 * plan.values.size() + 1)), 0);
  ClearPlan(plan);
  room.unnamed_data = 0;
  room.repeats.clear();
  Flattening run{event, budget, room, plan};
  if (!event.streams.empty()) FlattenStream(run, 0, 0);
  DescribeParts(run);
}

}  // namespace tarnlex
