#include "tests/hostile/crafted_chunks.h"

#include <algorithm>
#include <functional>

#include "tests/support/evtx_builder.h"

namespace tarnlex {
namespace {

using namespace support;

std::string Numbered(const std::string& head, int number) { return head + std::to_string(number); }

// A template of many elements that all hold slot 0.
Template ManyElements(int count) {
  std::vector<Node> elements;
  for (int i = 0; i < count; ++i) {
    elements.push_back(Element(Numbered("n", i), {}, {Slot(0, kString)}));
  }
  return MakeTemplate("many", {Element("Event", {}, elements)});
}

// A template of many "Data" elements whose names come from slot 0.
Template ManyComputedNames(int count) {
  std::vector<Node> elements;
  for (int i = 0; i < count; ++i) {
    elements.push_back(Element("Data",
                               {Attribute("Name", {Text(Numbered("", i)), Slot(0, kString)})},
                               {Slot(0, kString)}));
  }
  return MakeTemplate("computed", {Element("Event", {}, elements)});
}

// A string value that claims more bytes than its record has: it reaches over the records behind.
Value LongClaim(std::uint16_t size) {
  Value value = StringValue("x");
  value.stated_size = size;
  return value;
}

// One record with the definition, then as many records as fit that use it.
ByteString FillWith(const std::function<Fragment(int)>& body, std::size_t most = 100'000) {
  EvtxBuilder log;
  for (std::size_t i = 0; i < most; ++i) {
    log.AddRecord({.body = body(static_cast<int>(i))});
    if (log.BuildChunks().size() > kEvtxChunkSize) break;
    if (log.NextRecordOffset() + 600 > kEvtxChunkSize) break;
  }
  ByteString chunks = log.BuildChunks();
  chunks.resize(kEvtxChunkSize);
  return chunks;
}

ByteString SmallRecords() {
  // Sixteen thousand records of four bytes each, all of them the same overlapping bytes.
  EvtxBuilder log;
  log.AddChunk({.first_number = 1, .last_number = 1'000'000});
  log.AddRecord({.body = ElementsFragment({Element("a")})});
  ByteString chunk = log.BuildChunks();
  for (std::size_t at = kEvtxFirstRecord; at < chunk.size(); at += 4) SetU32(chunk, at, 4);
  return chunk;
}

// Records that are template instances and follow one another every 64 bytes.
ByteString DenseInstances() {
  EvtxBuilder log;
  const Template simple = MakeTemplate("dense", {Element("Event", {}, {Slot(0, kUInt16)})});
  log.AddRecord({.body = InstanceFragment(simple, {UInt16Value(1)})});
  ByteString chunk = FillWith(
      [&](int i) { return InstanceFragment(simple, {UInt16Value(static_cast<unsigned>(i))}); });
  return chunk;
}

ByteString RepeatedText() {
  const Template many = ManyElements(1000);
  return FillWith([&](int) { return InstanceFragment(many, {LongClaim(9000)}); });
}

ByteString RepeatedNames() {
  const Template many = ManyComputedNames(600);
  return FillWith([&](int) { return InstanceFragment(many, {LongClaim(9000)}); });
}

ByteString ColumnSets() {
  const Template many = ManyComputedNames(400);
  return FillWith([&](int i) { return InstanceFragment(many, {StringValue(Numbered("", i))}); });
}

// A template whose body instantiates itself, twice, and so on: two to the power of the depth.
ByteString Branching(int branches) {
  EvtxBuilder log;
  log.AddChunk();
  const std::uint32_t offset = log.NextRecordOffset() + 24 + 4 + 10;
  Instance self{.definition = MakeTemplate("self", {}), .values = {UInt16Value(1)}};
  self.definition_offset = offset;
  std::vector<Node> children(static_cast<std::size_t>(branches), InstanceNode(self));
  children.push_back(Slot(0, kUInt16));
  const Template body = MakeTemplate("self", {Element("Event", {}, children)});
  log.AddRecord({.body = InstanceFragment(body, {UInt16Value(7)})});
  for (int i = 0; i < 500; ++i) {
    if (log.NextRecordOffset() + 200 > kEvtxChunkSize) break;
    log.AddRecord({.body = InstanceFragment(body, {UInt16Value(7)})});
  }
  return log.BuildChunks();
}

// Two templates that instantiate each other.
ByteString Mutual() {
  EvtxBuilder log;
  log.AddChunk();
  Instance first{.definition = MakeTemplate("first", {}), .values = {UInt16Value(1)}};
  Instance second{.definition = MakeTemplate("second", {}), .values = {UInt16Value(2)}};
  const Template names = MakeTemplate("names", {Element("Event", {}, {Element("B", {}, {})})});
  log.AddRecord({.body = InstanceFragment(names, {})});
  const std::uint32_t second_at = log.NextRecordOffset() + 24 + 4 + 10;
  first.definition_offset = 0;
  second.definition_offset = second_at;
  const auto body_of_first = [&](std::uint32_t at) {
    Instance to_first = first;
    to_first.definition_offset = at;
    return to_first;
  };
  Template b = MakeTemplate(
      "second", {Element("B", {}, {InstanceNode(body_of_first(second_at)), InstanceNode(second)})});
  log.AddRecord({.body = InstanceFragment(b, {UInt16Value(3)})});
  Template a =
      MakeTemplate("first", {Element("Event", {}, {InstanceNode(second), InstanceNode(second)})});
  for (int i = 0; i < 300; ++i) log.AddRecord({.body = InstanceFragment(a, {UInt16Value(3)})});
  ByteString chunks = log.BuildChunks();
  chunks.resize(kEvtxChunkSize);
  return chunks;
}

// A stream of instances, each of which takes the rest of the stream for its definition.
ByteString OverlappingDefinitions() {
  EvtxBuilder log;
  log.AddChunk();
  log.AddRecord({.body = ElementsFragment({Element("a")})});
  ByteString chunk = log.BuildChunks();
  constexpr std::uint32_t kBegin = 512 + 24;
  constexpr std::uint32_t kStep = 18;  // token, version, identifier, offset, and an empty array
  SetU32(chunk, 512 + 4, 0xFC00);
  ByteString stream = Hex("0F 01 01 00 01");
  PutU32(stream, 60'000);
  PutU32(stream, 0);
  PutU8(stream, 2);
  for (std::uint32_t at = kBegin + 14; at + kStep + 100 < kEvtxChunkSize; at += kStep) {
    PutU8(stream, 0x0C);
    PutU8(stream, 1);
    PutU32(stream, 0xFFFF);  // read as the size of the definition 20 bytes before
    PutU32(stream, at + 2 * kStep - 16);
    PutU32(stream, 0);
    PutU32(stream, 0xFFFF);
  }
  SetBytes(chunk, kBegin, stream);
  return chunk;
}

// Tokens that all name the same long name, at as many offsets.
ByteString LongNames() {
  EvtxBuilder log;
  log.AddChunk();
  log.AddRecord({.body = ElementsFragment({Element("a")})});
  ByteString chunk = log.BuildChunks();
  std::fill(chunk.begin() + 512 + 24, chunk.end(), 0x30);  // count 0x3030: 12,336 units
  SetU32(chunk, 512 + 4, 0xF000);
  ByteString stream = Hex("0F 01 01 00");
  for (std::uint32_t i = 0; i < 2000; ++i) {
    PutU8(stream, 0x01);
    PutU32(stream, 0);
    PutU32(stream, 30'000 + i);
    PutBytes(stream, Hex("02 05 01 01 00 41 00 04"));
  }
  SetBytes(chunk, 512 + 24, stream);
  return chunk;
}

}  // namespace

std::vector<CraftedChunk> CraftedChunks() {
  return {{"small records", SmallRecords()},
          {"dense instances", DenseInstances()},
          {"repeated text", RepeatedText()},
          {"repeated names", RepeatedNames()},
          {"column sets", ColumnSets()},
          {"self-reference", Branching(1)},
          {"branching", Branching(8)},
          {"mutual", Mutual()},
          {"overlapping definitions", OverlappingDefinitions()},
          {"long names", LongNames()}};
}

ByteString FileOfChunks(const ByteString& chunk, int copies) {
  ByteString file = EvtxBuilder().Build();
  file.resize(kEvtxHeaderSize);
  for (int i = 0; i < copies; ++i) PutBytes(file, chunk);
  return file;
}

}  // namespace tarnlex
