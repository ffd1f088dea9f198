// Makes the layouts that output/event_json.cpp follows.
#include <algorithm>
#include <map>
#include <span>
#include <string>
#include <string_view>
#include <utility>

#include "event/slot_text.h"
#include "logs/text.h"
#include "output/event_json.h"
#include "output/event_text.h"
#include "output/json_text.h"
#include "output/repeated_array.h"

namespace tarnlex {
namespace {

using Kind = EventJsonStepKind;
using Parts = std::span<const Item>;

struct LayingOut {
  const EventStructure& event;
  const Document& document;
  EventJson& layout;
  std::size_t repeatable = 0;  // bytes that arrays may still repeat
  std::uint32_t literal = 0;   // where the literal of the next step begins
};

// An element on its way into the layout.
struct Element {
  ElementView view;
  std::uint32_t at = 0;       // among the document's items
  std::string name;           // of its member
  bool named_data = false;    // that name is its attribute "Name"
  bool unnamed_data = false;  // a value of the list "Data"
  OneOfArray one = {};
};

// Names that are taken in an object.
struct Names {
  std::vector<std::string> few = {};  // looked through one by one
  // All of them once they are many, with the last number that was tried behind each.
  std::map<std::string, std::size_t, std::less<>> many = {};
};
constexpr std::size_t kFewNames = 64;

void Say(LayingOut& run, std::string_view text) { run.layout.literals += text; }

std::uint32_t Said(const LayingOut& run) {
  return static_cast<std::uint32_t>(run.layout.literals.size());
}

bool IsLiteral(Parts parts) {
  return std::none_of(parts.begin(), parts.end(),
                      [](const Item& part) { return part.kind == ItemKind::kSlot; });
}

bool IsEmpty(Parts parts) {
  return std::all_of(parts.begin(), parts.end(), [](const Item& part) {
    return part.kind != ItemKind::kSlot && part.text.empty();
  });
}

EventJsonPart MakePart(LayingOut& run, const Item& item, const OneOfArray& one) {
  EventJsonPart part;
  part.slot = item.slot;
  part.optional = item.optional;
  if (item.kind != ItemKind::kSlot) {
    part.is_literal = true;
    part.literal = Said(run);
    AppendEscapedJson(run.layout.literals, item.text);
    part.literal_size = Said(run) - part.literal;
  } else if (one && IsArray(run.event.slots[item.slot])) {
    part.is_element = true;
    part.element = *one;
  }
  return part;
}

// A step behind what has been said since the last one.
void AddStep(LayingOut& run, Kind kind, Parts parts = {}, const OneOfArray& one = {}) {
  EventJsonStep step;
  step.kind = kind;
  step.literal = run.literal;
  step.literal_size = Said(run) - run.literal;
  step.first_part = static_cast<std::uint32_t>(run.layout.parts.size());
  step.part_count = static_cast<std::uint32_t>(parts.size());
  for (const Item& item : parts) run.layout.parts.push_back(MakePart(run, item, one));
  const bool is_slot = parts.size() == 1 && parts[0].kind == ItemKind::kSlot;
  if (is_slot && !run.layout.parts.back().is_element) step.slot = parts[0].slot;
  run.layout.steps.push_back(step);
  run.literal = Said(run);
}

void SayString(LayingOut& run, std::string_view text) {
  Say(run, "\"");
  AppendEscapedJson(run.layout.literals, text);
  Say(run, "\"");
}

// False for a name that is taken already.
bool Take(Names& names, std::string_view name) {
  if (names.many.empty()) {
    if (std::find(names.few.begin(), names.few.end(), name) != names.few.end()) return false;
    names.few.emplace_back(name);
    if (names.few.size() <= kFewNames) return true;
    for (std::string& each : names.few) names.many.emplace(std::move(each), 0);
    return true;
  }
  return names.many.try_emplace(std::string(name), 0).second;
}

// The name with the first number behind it that makes it another.
std::string TakeNumbered(Names& names, std::string_view name) {
  const auto known = names.many.find(name);
  std::size_t first = 0;
  std::size_t& number = known == names.many.end() ? first : known->second;
  std::string free;
  do {
    free = std::string(name) + "_" + std::to_string(++number);
  } while (!Take(names, free));
  return free;
}

void SayKey(LayingOut& run, Names& names, std::string_view name) {
  const bool is_free = Take(names, name);
  SayString(run, is_free ? name : TakeNumbered(names, name));
  Say(run, ":");
}

// Attributes that are said: those without any text are not.
std::vector<const AttributeView*> AttributesOf(const Element& element) {
  std::vector<const AttributeView*> said;
  bool skips_name = element.named_data;
  for (const AttributeView& attribute : element.view.attributes) {
    const bool is_name = skips_name && attribute.name == "Name";
    if (is_name) skips_name = false;
    if (!is_name && !IsEmpty(attribute.parts)) said.push_back(&attribute);
  }
  return said;
}

// Whether an element's attributes are there in all events does not depend on values if the first of
// them is a literal.
enum class Attributes : std::uint8_t { kNone, kSome, kPerhaps };

void SayValue(LayingOut& run, Parts parts) {
  Say(run, "\"");
  for (const Item& part : parts) AppendEscapedJson(run.layout.literals, part.text);
  Say(run, "\"");
}

bool HasLiteral(const AttributeView* attribute) { return IsLiteral(attribute->parts); }

// The attributes, of which those that are literals are parted from the next, which may be left out.
void LayOutAttributes(LayingOut& run, const std::vector<const AttributeView*>& said,
                      const OneOfArray& one) {
  const bool are_fixed = std::all_of(said.begin(), said.end(), HasLiteral);
  Names names;
  Say(run, kAttributesBegin);
  for (const AttributeView* attribute : said) {
    const bool is_first = attribute == said.front();
    const std::uint32_t key = Said(run);
    if (!is_first) Say(run, ",");
    SayKey(run, names, attribute->name);
    if (!HasLiteral(attribute)) {
      AddStep(run, is_first ? Kind::kFirstAttribute : Kind::kAttribute, attribute->parts, one);
      EventJsonStep& step = run.layout.steps.back();
      step.key_size = step.literal + step.literal_size - key;
      continue;
    }
    SayValue(run, attribute->parts);
    if (!are_fixed) AddStep(run, Kind::kNothing);
  }
}

Attributes LayOutAttributes(LayingOut& run, const Element& element) {
  const std::vector<const AttributeView*> said = AttributesOf(element);
  if (said.empty()) return Attributes::kNone;
  LayOutAttributes(run, said, element.one);
  return HasLiteral(said.front()) ? Attributes::kSome : Attributes::kPerhaps;
}

// The end of an element that holds no other.
void LayOutText(LayingOut& run, const Element& element, Attributes attributes) {
  const bool is_data = element.named_data || element.unnamed_data;
  const Parts parts = element.view.parts;
  const bool is_fixed = IsLiteral(parts) && !IsEmpty(parts);
  if (attributes == Attributes::kNone && is_fixed) {
    SayValue(run, parts);
    return;
  }
  if (attributes == Attributes::kNone) {
    AddStep(run, is_data ? Kind::kDataValue : Kind::kValue, parts, element.one);
    return;
  }
  Say(run, parts.empty() ? kEndOfBoth : kTextBehindAttributes);
  if (attributes == Attributes::kPerhaps) {
    AddStep(run, is_data ? Kind::kEndData : Kind::kEnd, parts, element.one);
  } else if (!parts.empty()) {
    AddStep(run, Kind::kEndFixed, parts, element.one);
  }
}

void LayOutElement(LayingOut& run, const Element& element, bool holds_data);

Element MakeElement(const LayingOut& run, std::uint32_t at, bool by_name) {
  Element element{ViewElement(run.document, at), at, {}};
  element.name = element.view.name;
  if (!by_name || element.name != "Data") return element;
  const auto& attributes = element.view.attributes;
  const auto found = std::find_if(attributes.begin(), attributes.end(),
                                  [](const AttributeView& a) { return a.name == "Name"; });
  std::string name;
  if (found != attributes.end()) name = EventTextOf(run.event, found->parts);
  element.named_data = !name.empty();
  element.unnamed_data = name.empty();
  if (element.named_data) element.name = std::move(name);
  return element;
}

// Adds the elements that one of them becomes.
void AddRepeated(LayingOut& run, Element element, std::vector<Element>& elements) {
  if (element.unnamed_data || run.repeatable == 0) {
    elements.push_back(std::move(element));
    return;
  }
  for (const OneOfArray& one : RepeatedFor(run.event, run.document, element.at, run.repeatable)) {
    elements.push_back(element);
    elements.back().one = one;
  }
}

bool IsBareValue(const Element& element) {
  return element.view.children.empty() && element.view.attributes.empty() &&
         element.view.instructions.empty();
}

// "Data" without names.
void LayOutList(LayingOut& run, const std::vector<Element>& elements) {
  Say(run, "{\"#text\":");
  AddStep(run, Kind::kBeginList);
  for (const Element& element : elements) {
    if (!element.unnamed_data) continue;
    if (IsBareValue(element)) {
      AddStep(run, Kind::kListValue, element.view.parts);
    } else {
      AddStep(run, Kind::kEntry);
      LayOutElement(run, element, false);
    }
  }
  AddStep(run, Kind::kEndList);
  Say(run, "}");
}

void LayOutInstructions(LayingOut& run, const Element& element, Names& names, bool first) {
  for (const AttributeView& instruction : element.view.instructions) {
    if (!first) Say(run, ",");
    first = false;
    SayKey(run, names, "?" + std::string(instruction.name));
    AddStep(run, Kind::kValue, instruction.parts);
  }
}

// Elements of an event whose "Data" are told by their names.
bool HoldsData(std::string_view name) { return name == "EventData" || name == "UserData"; }

// The members for the elements inside of one.
void LayOutChildren(LayingOut& run, const Element& parent, bool holds_data) {
  Names names;
  if (!parent.view.attributes.empty()) Take(names, "#attributes");
  if (!parent.view.parts.empty()) Take(names, "#text");
  std::vector<Element> elements;
  elements.reserve(parent.view.children.size());
  for (const std::uint32_t at : parent.view.children) {
    AddRepeated(run, MakeElement(run, at, holds_data), elements);
  }
  bool first = true;
  bool listed = false;
  for (const Element& element : elements) {
    if (element.unnamed_data && std::exchange(listed, true)) continue;
    if (!first) Say(run, ",");
    first = false;
    SayKey(run, names, element.name);
    if (element.unnamed_data) {
      LayOutList(run, elements);
    } else {
      LayOutElement(run, element, parent.at == 0 && HoldsData(element.view.name));
    }
  }
  LayOutInstructions(run, parent, names, first);
}

void LayOutElement(LayingOut& run, const Element& element, bool holds_data) {
  const Attributes attributes = LayOutAttributes(run, element);
  if (element.view.children.empty() && element.view.instructions.empty()) {
    LayOutText(run, element, attributes);
    return;
  }
  switch (attributes) {
    case Attributes::kNone: Say(run, "{"); break;
    case Attributes::kSome: Say(run, "},"); break;
    case Attributes::kPerhaps:
      Say(run, "},");
      AddStep(run, Kind::kBeginContent);
      break;
  }
  if (!element.view.parts.empty()) AddStep(run, Kind::kText, element.view.parts, element.one);
  LayOutChildren(run, element, holds_data);
  Say(run, "}");
}

// More than a step takes beside its literal and the texts of its values.
constexpr std::size_t kStepRoom = 32;

// Bytes of a line but for the texts of slots.
std::size_t RoomFor(const EventStructure& event, const EventJson& layout) {
  std::size_t size = layout.literals.size() + kCopyBlock + kStepRoom * (layout.steps.size() + 1);
  for (const EventJsonPart& part : layout.parts) {
    size += part.literal_size;
    if (part.is_element) size += MaxSlotText(event, part.element);
  }
  return size;
}

}  // namespace

EventJson LayOutEventJson(const EventStructure& event, const Document& document, bool repeats) {
  EventJson layout;
  layout.made = true;
  LayingOut run{event, document, layout, repeats ? kMostRepeated : 0};
  const Element root = MakeElement(run, 0, false);
  Say(run, "{");
  SayString(run, root.name);
  Say(run, ":");
  LayOutElement(run, root, false);
  Say(run, "}\n");
  AddStep(run, Kind::kNothing);
  layout.literals.append(kCopyBlock, ' ');
  layout.room = RoomFor(event, layout);
  layout.literals.shrink_to_fit();
  layout.steps.shrink_to_fit();
  layout.parts.shrink_to_fit();
  return layout;
}

}  // namespace tarnlex
