#include "tests/support/binary_xml_builder.h"

#include <utility>

namespace tarnlex::support {
namespace {

constexpr std::uint8_t kMore = 0x40;
constexpr std::size_t kNameTable = 128;
constexpr std::size_t kTemplateTable = 384;

std::uint32_t Here(const ChunkImage& chunk) {
  return static_cast<std::uint32_t>(chunk.bytes.size());
}

// Makes `offset` the head of its bucket and returns the head that it follows.
std::uint32_t PushBucket(ChunkImage& chunk, std::size_t slot, std::uint32_t offset) {
  const std::uint32_t next = GetU32(chunk.bytes, slot);
  SetU32(chunk.bytes, slot, offset);
  return next;
}

// Fills the 32-bit size at `at` with the number of bytes written behind it.
void CloseSize(ChunkImage& chunk, std::size_t at) {
  SetU32(chunk.bytes, at, static_cast<std::uint32_t>(chunk.bytes.size() - at - 4));
}

std::size_t OpenSize(ChunkImage& chunk) {
  PutU32(chunk.bytes, 0);
  return chunk.bytes.size() - 4;
}

void WriteCounted(ChunkImage& chunk, std::u16string_view text) {
  PutU16(chunk.bytes, static_cast<std::uint16_t>(text.size()));
  PutWide(chunk.bytes, text);
}

void WriteName(ChunkImage& chunk, const std::u16string& name) {
  if (const auto known = chunk.names.find(name); known != chunk.names.end()) {
    PutU32(chunk.bytes, known->second);
    return;
  }
  const std::uint32_t offset = Here(chunk) + 4;
  const auto hash = static_cast<std::uint16_t>(HashUnits(name));
  PutU32(chunk.bytes, offset);
  PutU32(chunk.bytes, PushBucket(chunk, kNameTable + 4 * (hash % 64U), offset));
  PutU16(chunk.bytes, hash);
  WriteCounted(chunk, name);
  PutU16(chunk.bytes, 0);
  chunk.names.emplace(name, offset);
}

void WriteNode(ChunkImage& chunk, const Node& node, bool dependency_ids);

void WriteAttributes(ChunkImage& chunk, const std::vector<Node>& attributes, bool dependency_ids) {
  const std::size_t size = OpenSize(chunk);
  for (std::size_t i = 0; i < attributes.size(); ++i) {
    const Node& attribute = attributes[i];
    if (attribute.kind != Node::Kind::kAttribute) {
      WriteNode(chunk, attribute, dependency_ids);
      continue;
    }
    PutU8(chunk.bytes, i + 1 < attributes.size() ? 0x06 | kMore : 0x06);
    WriteName(chunk, attribute.text);
    WriteNodes(chunk, attribute.children, dependency_ids);
  }
  CloseSize(chunk, size);
}

void WriteElement(ChunkImage& chunk, const Node& element, bool dependency_ids) {
  PutU8(chunk.bytes, element.attributes.empty() ? 0x01 : 0x01 | kMore);
  if (dependency_ids) PutU16(chunk.bytes, element.number);
  const std::size_t size = OpenSize(chunk);
  WriteName(chunk, element.text);
  if (!element.attributes.empty()) WriteAttributes(chunk, element.attributes, dependency_ids);
  if (element.children.empty()) {
    PutU8(chunk.bytes, 0x03);
  } else {
    PutU8(chunk.bytes, 0x02);
    WriteNodes(chunk, element.children, dependency_ids);
    PutU8(chunk.bytes, 0x04);
  }
  CloseSize(chunk, size);
}

void WriteInstance(ChunkImage& chunk, const Instance& instance);

void WriteNode(ChunkImage& chunk, const Node& node, bool dependency_ids) {
  switch (node.kind) {
    case Node::Kind::kElement: return WriteElement(chunk, node, dependency_ids);
    case Node::Kind::kAttribute:
      PutU8(chunk.bytes, 0x06);
      WriteName(chunk, node.text);
      return WriteNodes(chunk, node.children, dependency_ids);
    case Node::Kind::kText:
      PutU8(chunk.bytes, node.token);
      PutU8(chunk.bytes, node.type);
      return WriteCounted(chunk, node.text);
    case Node::Kind::kSlot:
      PutU8(chunk.bytes, node.token);
      PutU16(chunk.bytes, node.number);
      return PutU8(chunk.bytes, node.type);
    case Node::Kind::kCharacters:
      PutU8(chunk.bytes, node.token);
      return WriteCounted(chunk, node.text);
    case Node::Kind::kNamed: PutU8(chunk.bytes, node.token); return WriteName(chunk, node.text);
    case Node::Kind::kInstance: return WriteInstance(chunk, node.instances.at(0));
    case Node::Kind::kRaw: return PutBytes(chunk.bytes, node.raw);
  }
}

void WriteValues(ChunkImage& chunk, const Instance& instance) {
  const std::vector<Value>& values = instance.values;
  PutU32(chunk.bytes, instance.stated_count.value_or(static_cast<std::uint32_t>(values.size())));
  const std::size_t descriptors = chunk.bytes.size();
  for (const Value& value : values) {
    PutU16(chunk.bytes, 0);
    PutU8(chunk.bytes, value.type);
    PutU8(chunk.bytes, 0);
  }
  for (std::size_t i = 0; i < values.size(); ++i) {
    const std::size_t start = chunk.bytes.size();
    if (values[i].nested.empty()) {
      PutBytes(chunk.bytes, values[i].bytes);
    } else {
      for (const Fragment& fragment : values[i].nested) WriteFragment(chunk, fragment);
    }
    const auto size = static_cast<std::uint16_t>(chunk.bytes.size() - start);
    SetU16(chunk.bytes, descriptors + 4 * i, values[i].stated_size.value_or(size));
  }
}

void WriteInstance(ChunkImage& chunk, const Instance& instance) {
  const Guid& guid = instance.definition.guid;
  PutU8(chunk.bytes, 0x0C);
  PutU8(chunk.bytes, 0x01);
  PutBytes(chunk.bytes, ByteString(guid.begin(), guid.begin() + 4));
  const auto known = chunk.templates.find(guid);
  if (instance.definition_offset) {
    PutU32(chunk.bytes, *instance.definition_offset);
  } else if (known != chunk.templates.end() && !instance.repeat_definition) {
    PutU32(chunk.bytes, known->second);
  } else {
    PutU32(chunk.bytes, Here(chunk) + 4);
    WriteDefinition(chunk, instance.definition);
  }
  WriteValues(chunk, instance);
}

Node MakeNode(Node::Kind kind, std::uint8_t token, std::u16string text) {
  Node node;
  node.kind = kind;
  node.token = token;
  node.text = std::move(text);
  return node;
}

Node MakeSlot(std::uint8_t token, std::uint16_t number, std::uint8_t type) {
  Node node = MakeNode(Node::Kind::kSlot, token, {});
  node.number = number;
  node.type = type;
  return node;
}

}  // namespace

Node Element(std::string_view name, std::vector<Node> attributes, std::vector<Node> children) {
  Node node = MakeNode(Node::Kind::kElement, 0x01, Wide(name));
  node.attributes = std::move(attributes);
  node.children = std::move(children);
  return node;
}

Node DependingOn(std::uint16_t slot, Node element) {
  element.number = slot;
  return element;
}

Node Attribute(std::string_view name, std::vector<Node> value) {
  Node node = MakeNode(Node::Kind::kAttribute, 0x06, Wide(name));
  node.children = std::move(value);
  return node;
}

Node Attribute(std::string_view name, Node value) {
  return Attribute(name, std::vector<Node>{std::move(value)});
}

Node Attribute(std::string_view name, std::string_view value) {
  return Attribute(name, Text(value));
}

Node Text(std::string_view utf8, bool more) { return WideText(Wide(utf8), more); }

Node WideText(std::u16string_view units, bool more) {
  Node node = MakeNode(Node::Kind::kText, more ? 0x05 | kMore : 0x05, std::u16string(units));
  node.type = kString;
  return node;
}

Node Slot(std::uint16_t number, std::uint8_t type) { return MakeSlot(0x0D, number, type); }
Node OptionalSlot(std::uint16_t number, std::uint8_t type) { return MakeSlot(0x0E, number, type); }

Node CData(std::string_view utf8) { return MakeNode(Node::Kind::kCharacters, 0x07, Wide(utf8)); }

Node CharacterReference(std::uint16_t code) {
  ByteString bytes{0x08};
  PutU16(bytes, code);
  return Raw(std::move(bytes));
}

Node EntityReference(std::string_view name) {
  return MakeNode(Node::Kind::kNamed, 0x09, Wide(name));
}

Node ProcessingTarget(std::string_view name) {
  return MakeNode(Node::Kind::kNamed, 0x0A, Wide(name));
}

Node ProcessingData(std::string_view utf8) {
  return MakeNode(Node::Kind::kCharacters, 0x0B, Wide(utf8));
}

Node InstanceNode(Instance instance) {
  Node node = MakeNode(Node::Kind::kInstance, 0x0C, {});
  node.instances.push_back(std::move(instance));
  return node;
}

Node Raw(ByteString bytes) {
  Node node;
  node.raw = std::move(bytes);
  return node;
}

Template MakeTemplate(std::string_view name, std::vector<Node> body) {
  return {.guid = GuidFor(name), .body = std::move(body)};
}

void WriteNodes(ChunkImage& chunk, const std::vector<Node>& nodes, bool dependency_ids) {
  for (const Node& node : nodes) WriteNode(chunk, node, dependency_ids);
}

std::uint32_t WriteDefinition(ChunkImage& chunk, const Template& definition) {
  const std::uint32_t offset = Here(chunk);
  std::u16string units;
  for (std::size_t i = 0; i < 16; i += 2) {
    units += static_cast<char16_t>(definition.guid[i] | (definition.guid[i + 1] << 8));
  }
  PutU32(chunk.bytes, PushBucket(chunk, kTemplateTable + 4 * (HashUnits(units) % 32), offset));
  PutBytes(chunk.bytes, ByteString(definition.guid.begin(), definition.guid.end()));
  const std::size_t size = OpenSize(chunk);
  if (definition.header) PutBytes(chunk.bytes, {0x0F, 0x01, 0x01, 0x00});
  WriteNodes(chunk, definition.body, true);
  if (definition.end_token) PutU8(chunk.bytes, 0x00);
  CloseSize(chunk, size);
  if (definition.stated_size) SetU32(chunk.bytes, size, *definition.stated_size);
  chunk.templates.emplace(definition.guid, offset);
  return offset;
}

void WriteFragment(ChunkImage& chunk, const Fragment& fragment) {
  if (fragment.header) PutBytes(chunk.bytes, {0x0F, 0x01, 0x01, 0x00});
  if (fragment.instance.empty()) {
    WriteNodes(chunk, fragment.nodes, fragment.dependency_ids);
    if (fragment.end_token) PutU8(chunk.bytes, 0x00);
  } else {
    WriteInstance(chunk, fragment.instance[0]);
  }
}

std::uint32_t HashUnits(std::u16string_view units) {
  std::uint32_t hash = 0;
  for (const char16_t unit : units) hash = hash * 65599 + unit;
  return hash;
}

}  // namespace tarnlex::support
