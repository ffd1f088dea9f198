// Makes the layouts that output/event_xml.cpp follows.
#include <algorithm>
#include <map>
#include <set>
#include <span>
#include <string>
#include <string_view>
#include <utility>

#include "event/slot_text.h"
#include "logs/text.h"
#include "output/event_xml.h"
#include "output/repeated_array.h"
#include "output/xml_text.h"

namespace tarnlex {
namespace {

constexpr std::string_view kEventNamespace =
    "http://schemas.microsoft.com/win/2004/08/events/event";
constexpr std::string_view kOriginal = "OriginalName";

using Kind = EventXmlStepKind;

struct LayingOut {
  const EventStructure& event;
  const Document& document;
  EventXml& layout;
  std::size_t repeatable = 0;              // bytes that arrays may still repeat
  std::uint32_t literal = 0;               // where the literal of the next step begins
  std::vector<std::string> prefixes = {};  // that elements which have not ended declare
};

struct Attribute {
  std::string_view name;
  std::uint32_t first = 0;  // its parts among the document's items
  std::uint32_t end = 0;
};

void Say(LayingOut& run, std::string_view text) { run.layout.literals += text; }

void SayEscaped(LayingOut& run, std::string_view text) {
  Say(run, XmlText(text, run.layout.replaced));
}

std::uint32_t Said(const LayingOut& run) {
  return static_cast<std::uint32_t>(run.layout.literals.size());
}

// A step behind what has been said since the last one; its place.
std::size_t AddStep(LayingOut& run, Kind kind) {
  EventXmlStep& step = run.layout.steps.emplace_back();
  step.kind = kind;
  step.literal = run.literal;
  step.literal_size = Said(run) - run.literal;
  run.literal = Said(run);
  return run.layout.steps.size() - 1;
}

void AddSlot(LayingOut& run, const Item& item, const OneOfArray& one) {
  const bool is_element = one && IsArray(run.event.slots[item.slot]);
  EventXmlStep& step = run.layout.steps[AddStep(run, is_element ? Kind::kElement : Kind::kSlot)];
  step.slot = item.slot;
  if (is_element) step.element = *one;
}

std::vector<Attribute> AttributesOf(const Document& document, std::uint32_t at) {
  std::vector<Attribute> attributes;
  std::uint32_t i = at + 1;
  for (; i < document.items.size(); ++i) {
    const Item& item = document.items[i];
    if (item.kind == ItemKind::kAttribute) {
      attributes.push_back({item.text, i + 1, i + 1});
    } else if (item.in_start_tag && !attributes.empty()) {
      attributes.back().end = i + 1;
    } else {
      break;
    }
  }
  return attributes;
}

// Where an element's content begins.
std::uint32_t ContentOf(std::uint32_t at, const std::vector<Attribute>& attributes) {
  return attributes.empty() ? at + 1 : attributes.back().end;
}

std::span<const Item> PartsOf(const LayingOut& run, const Attribute& attribute) {
  return {run.document.items.data() + attribute.first, attribute.end - attribute.first};
}

bool IsLiteral(std::span<const Item> parts) {
  return std::none_of(parts.begin(), parts.end(),
                      [](const Item& part) { return part.kind == ItemKind::kSlot; });
}

// Whether a value may be left out, with whatever it is the value of.
bool IsOptional(std::span<const Item> parts) {
  return !parts.empty() && std::all_of(parts.begin(), parts.end(), [](const Item& part) {
    return part.kind == ItemKind::kSlot && part.optional;
  });
}

std::string LiteralText(std::span<const Item> parts) {
  std::string text;
  for (const Item& part : parts) text += part.text;
  return text;
}

bool IsPlainName(std::string_view name) { return !name.empty() && XmlName(name) == name; }

// "xmlns" or "xmlns:prefix".
bool IsDeclaration(std::string_view name) { return name == "xmlns" || name.starts_with("xmlns:"); }

// A declaration that a parser can take: of a prefix that is free to be declared, for a name of a
// namespace that is known here and not the parser's own.
bool IsSoundDeclaration(const LayingOut& run, const Attribute& attribute) {
  if (!IsDeclaration(attribute.name) || !IsLiteral(PartsOf(run, attribute))) return false;
  const std::string uri = LiteralText(PartsOf(run, attribute));
  if (uri.starts_with("http://www.w3.org/XML/1998/namespace") ||
      uri.starts_with("http://www.w3.org/2000/xmlns")) {
    return false;
  }
  if (attribute.name == "xmlns") return true;
  const std::string_view prefix = attribute.name.substr(sizeof "xmlns:" - 1);
  return IsPlainName(prefix) && !uri.empty() && !ToLowerAscii(prefix).starts_with("xml");
}

// Whether a name can stand as it is: without a prefix, or with one that is declared.
bool IsSoundName(const LayingOut& run, std::string_view name) {
  const std::size_t colon = name.find(':');
  if (colon == std::string_view::npos) return IsPlainName(name);
  const std::string_view prefix = name.substr(0, colon);
  return IsPlainName(name.substr(colon + 1)) &&
         std::find(run.prefixes.begin(), run.prefixes.end(), prefix) != run.prefixes.end();
}

// Names of attributes that an element has; those with a prefix by what stands behind it, as two
// prefixes may be one namespace.
struct TakenNames {
  std::set<std::string, std::less<>> names = {};
  std::map<std::string, int> next_numbers = {};  // behind names that were asked for again
};

bool Take(TakenNames& taken, std::string_view name) {
  const std::size_t colon = IsDeclaration(name) ? std::string_view::npos : name.find(':');
  return taken.names.emplace(colon == std::string_view::npos ? name : name.substr(colon)).second;
}

std::string TakeFree(TakenNames& taken, const std::string& name) {
  if (Take(taken, name)) return name;
  int& number = taken.next_numbers.try_emplace(name, 2).first->second;
  std::string free;
  do {
    free = name + "_" + std::to_string(number++);
  } while (!Take(taken, free));
  return free;
}

void SayAttribute(LayingOut& run, TakenNames& taken, const std::string& name,
                  std::string_view text) {
  Say(run, " " + TakeFree(taken, name) + "=\"");
  SayEscaped(run, text);
  Say(run, "\"");
}

void LayOutText(LayingOut& run, std::span<const Item> parts, const OneOfArray& one) {
  for (const Item& part : parts) {
    if (part.kind == ItemKind::kSlot) {
      AddSlot(run, part, one);
    } else {
      SayEscaped(run, part.text);
    }
  }
}

void LayOutValue(LayingOut& run, const std::string& name, std::span<const Item> parts,
                 const OneOfArray& one) {
  const bool perhaps = IsOptional(parts);
  const std::size_t begin = perhaps ? AddStep(run, Kind::kPerhapsAttribute) : 0;
  Say(run, " " + name + "=\"");
  LayOutText(run, parts, one);
  Say(run, "\"");
  if (!perhaps) return;
  const std::size_t end = AddStep(run, Kind::kNothing);
  run.layout.steps[begin].skip = static_cast<std::uint32_t>(end - begin);
}

bool IsSound(const LayingOut& run, const Attribute& attribute) {
  return IsDeclaration(attribute.name) ? IsSoundDeclaration(run, attribute)
                                       : IsSoundName(run, attribute.name);
}

// Names that are sound come first, so that none of them has to make room for one that is made.
void LayOutAttributes(LayingOut& run, const std::vector<Attribute>& attributes, TakenNames& taken,
                      const OneOfArray& one) {
  std::vector<const Attribute*> renamed;
  for (const Attribute& attribute : attributes) {
    if (IsSound(run, attribute) && Take(taken, attribute.name)) {
      LayOutValue(run, std::string(attribute.name), PartsOf(run, attribute), one);
    } else {
      renamed.push_back(&attribute);
    }
  }
  for (const Attribute* attribute : renamed) {
    const std::string made = XmlName(attribute->name);
    const std::string name = TakeFree(taken, made == "xmlns" ? "_" + made : made);
    LayOutValue(run, name, PartsOf(run, *attribute), one);
    SayAttribute(run, taken, name + "." + std::string(kOriginal), attribute->name);
  }
}

void Declare(LayingOut& run, const std::vector<Attribute>& attributes) {
  for (const Attribute& attribute : attributes) {
    if (attribute.name == "xmlns" || !IsSoundDeclaration(run, attribute)) continue;
    run.prefixes.emplace_back(attribute.name.substr(sizeof "xmlns:" - 1));
  }
}

// A line end, which cannot be escaped here, is a blank, as is what would end the instruction.
void LayOutInstruction(LayingOut& run, std::string_view target, std::string_view text) {
  std::string said;
  for (const char c : text) {
    if (c == '>' && said.ends_with('?')) said += ' ';
    said += c == '\r' || c == '\n' ? ' ' : c;
  }
  const bool is_made = !IsPlainName(target) || ToLowerAscii(target) == "xml";
  Say(run, "<?" + (is_made ? "_" + XmlName(target) : std::string(target)) + " ");
  Say(run, XmlPlainText(said, run.layout.replaced));
  Say(run, "?>");
}

void LayOutElements(LayingOut& run, std::uint32_t at);

void LayOutContent(LayingOut& run, std::uint32_t at, std::uint32_t end, const OneOfArray& one) {
  const std::vector<Item>& items = run.document.items;
  for (std::uint32_t i = at; i < end; ++i) {
    const Item& item = items[i];
    switch (item.kind) {
      case ItemKind::kElement:
        LayOutElements(run, i);
        i = item.next - 1;
        break;
      case ItemKind::kText:
      case ItemKind::kSlot: LayOutText(run, {&item, 1}, one); break;
      case ItemKind::kInstruction: {
        const bool has_text = i + 1 < end && items[i + 1].kind == ItemKind::kInstructionText;
        LayOutInstruction(run, item.text, has_text ? items[i + 1].text : "");
        if (has_text) ++i;
        break;
      }
      case ItemKind::kInstructionText: LayOutInstruction(run, "", item.text); break;
      case ItemKind::kAttribute:
      case ItemKind::kEnd: break;
    }
  }
}

void LayOutElement(LayingOut& run, std::uint32_t at, const OneOfArray& one) {
  const Item& item = run.document.items[at];
  const std::vector<Attribute> attributes = AttributesOf(run.document, at);
  const std::size_t prefixes = run.prefixes.size();
  Declare(run, attributes);
  const bool is_sound = IsSoundName(run, item.text);
  const std::string name = is_sound ? std::string(item.text) : XmlName(item.text);
  Say(run, "<" + name);
  TakenNames taken;
  LayOutAttributes(run, attributes, taken, one);
  if (!is_sound) SayAttribute(run, taken, std::string(kOriginal), item.text);
  if (at == 0 && !taken.names.contains("xmlns")) {
    SayAttribute(run, taken, "xmlns", kEventNamespace);
  }
  const std::uint32_t content = ContentOf(at, attributes);
  const std::uint32_t end = item.next - 1;
  Say(run, content == end ? "/>" : ">");
  LayOutContent(run, content, end, one);
  if (content != end) Say(run, "</" + name + ">");
  run.prefixes.resize(prefixes);
}

// An element, once for each value of an array that it holds.
void LayOutElements(LayingOut& run, std::uint32_t at) {
  for (const OneOfArray& one : RepeatedFor(run.event, run.document, at, run.repeatable)) {
    LayOutElement(run, at, one);
  }
}

}  // namespace

EventXml LayOutEventXml(const EventStructure& event, const Document& document, bool repeats) {
  EventXml layout;
  layout.made = true;
  LayingOut run{event, document, layout, repeats ? kMostRepeated : 0};
  LayOutElement(run, 0, {});
  Say(run, "\n");
  AddStep(run, Kind::kNothing);
  layout.literals.append(kCopyBlock, ' ');
  layout.room = layout.literals.size() + kCopyBlock;
  for (const EventXmlStep& step : layout.steps) {
    if (step.kind == Kind::kElement) layout.room += MaxSlotText(event, step.element);
  }
  layout.literals.shrink_to_fit();
  layout.steps.shrink_to_fit();
  return layout;
}

}  // namespace tarnlex
