#include "tests/hostile/crafted_chunks.h"

#include <algorithm>
#include <functional>

#include "tests/support/evt_builder.h"
#include "tests/support/evtx_builder.h"

namespace tarnlex {
namespace {

using namespace support;

std::string Numbered(const std::string& head, int number) { return head + std::to_string(number); }

// A template of many elements that all hold slot 0. Who searches for the text of the last one looks
// through all others first.
Template ManyElements(int count) {
  std::vector<Node> elements;
  for (int i = 0; i < count; ++i) {
    elements.push_back(Element(Numbered("n", i), {}, {Slot(0, kString)}));
  }
  elements.push_back(Element("last", {}, {Text("needle")}));
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

// As many records as fit, each of which says over and over what a template between them says once:
// `data` unnamed elements, `times` times, all of them columns of their own.
ByteString SharedRepeats(int data, int times) {
  const Node leaf_data = Element("Data", {}, {Text("x")});
  const Template leaf =
      MakeTemplate("leaf", std::vector<Node>(static_cast<std::size_t>(data), leaf_data));
  const Instance instance{.definition = leaf, .values = {}};
  const Template stem = MakeTemplate(
      "stem", std::vector<Node>(static_cast<std::size_t>(times), InstanceNode(instance)));
  EvtxBuilder log;
  log.AddTemplate(stem);
  while (log.NextRecordOffset() < kEvtxChunkSize - 30'000)
    log.AddRecord({.body = InstanceFragment(stem, {})});
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

// Many records of one template over a chunk whose upper half is filled with `filling`: slot 0
// claims all bytes up to there, so that slot 1, of `type`, stands on the filling.
ByteString OverATail(std::uint8_t type, std::uint16_t size, const ByteString& filling,
                     int elements) {
  constexpr std::uint32_t kTail = 0x8000;
  std::vector<Node> nodes;
  for (int i = 0; i < elements; ++i) {
    nodes.push_back(Element(Numbered("n", i), {}, {Slot(1, type)}));
  }
  nodes.push_back(Element("last", {}, {Text("needle")}));
  const Template many = MakeTemplate("tail", {Element("Event", {}, nodes)});
  EvtxBuilder log;
  log.AddChunk({.last_number = 100'000});
  while (log.NextRecordOffset() + 200 < kTail) {
    if (log.NextRecordOffset() == kEvtxFirstRecord) {
      log.AddRecord({.body = InstanceFragment(many, {NullValue(), NullValue()})});
      continue;
    }
    // Record header, fragment header, instance, and in front of the values their descriptors.
    const std::uint32_t values = log.NextRecordOffset() + 24 + 4 + 10 + 4 + 2 * 4;
    Value before = RawValue(kBinary, {});
    before.stated_size = static_cast<std::uint16_t>(kTail - values);
    Value text = RawValue(type, {});
    text.stated_size = size;
    log.AddRecord({.body = InstanceFragment(many, {before, text})});
    if (log.NextRecordOffset() + 100 > kTail) break;
  }
  ByteString chunk = log.BuildChunks();
  chunk.resize(kEvtxChunkSize);
  for (std::size_t at = kTail; at < chunk.size(); ++at) {
    chunk[at] = filling[(at - kTail) % filling.size()];
  }
  return chunk;
}

// Small records whose template holds one value in many elements.
ByteString ManyValues(const Value& value) {
  std::vector<Node> elements;
  for (int i = 0; i < 300; ++i) {
    elements.push_back(
        Element(Numbered("n", i), {Attribute("a", Slot(0, value.type))}, {Slot(0, value.type)}));
  }
  elements.push_back(Element("last", {}, {Text("needle")}));
  const Template many = MakeTemplate("values", {Element("Event", {}, elements)});
  return FillWith([&](int) { return InstanceFragment(many, {value}); });
}

// Small records of elements with many attributes, the shortest way to a value.
ByteString ManyAttributes(const Value& value) {
  std::vector<Node> attributes;
  for (int i = 0; i < 300; ++i)
    attributes.push_back(Attribute(Numbered("n", i), Slot(0, value.type)));
  const Template many = MakeTemplate("attributes", {Element("Event", attributes)});
  return FillWith([&](int) { return InstanceFragment(many, {value}); });
}

// Elements with attributes of one name, each of which gets a number of its own.
ByteString SameAttributes() {
  const std::vector<Node> attributes(6000, Attribute("k", ""));
  const Template many = MakeTemplate("same", {Element("Event", attributes)});
  return FillWith([&](int) { return InstanceFragment(many, {}); });
}

// An element that is repeated for each value of an array, with another array inside.
ByteString ArrayInsideOfRepeated() {
  const Value few = RawValue(kByte | 0x80, ByteString(2000, 7));
  const Value many = RawValue(kByte | 0x80, ByteString(50'000, 7));
  const Template nested = MakeTemplate(
      "arrays",
      {Element("Event", {},
               {Element("X", {}, {Slot(0, few.type), Element("Y", {}, {Slot(1, many.type)})})})});
  return FillWith([&](int) { return InstanceFragment(nested, {few, many}); });
}

// Records that differ in their event identifier, so that each has a table and a header of its own.
ByteString TableForEveryRecord(int columns, const std::string& tail) {
  std::vector<Node> elements = {Element("EventID", {}, {Slot(0, kUInt16)})};
  for (int i = 0; i < columns; ++i) {
    elements.push_back(Element(Numbered("n", i) + tail, {}, {Slot(0, kUInt16)}));
  }
  const Template many = MakeTemplate("tables", {Element("Event", {}, elements)});
  return FillWith(
      [&](int i) { return InstanceFragment(many, {UInt16Value(static_cast<unsigned>(i))}); });
}

// A few names of many characters, which every record repeats where a form writes names.
ByteString NamesInEveryRow() {
  const std::string tail(20'000, 'x');
  std::vector<Node> elements;
  elements.push_back(Element("x" + tail, {}, {Slot(0, kUInt16)}));
  for (int i = 0; i < 12; ++i) {
    elements.push_back(Element("Data",
                               {Attribute("Name", {Text(Numbered("", i)), Slot(1, kString)})},
                               {Slot(0, kUInt16)}));
  }
  const Template many = MakeTemplate("names in rows", {Element("Event", {}, elements)});
  return FillWith([&](int) {
    Value claim = StringValue("y");
    claim.stated_size = 18'000;
    return InstanceFragment(many, {UInt16Value(1), claim});
  });
}

// Arrays of binary XML values that nest and overlap.
ByteString NestedArrays() {
  EvtxBuilder log;
  log.AddChunk();
  const Template body =
      MakeTemplate("nested", {Element("Event", {}, {Slot(0, kBinaryXml), Slot(1, kBinaryXml)})});
  Instance inner{.definition = body, .values = {}};
  for (int i = 0; i < 27; ++i) inner.values.push_back(UInt16Value(1));
  Value nested = InstanceValue(inner);
  for (int depth = 0; depth < 12; ++depth) {
    Instance outer{.definition = body, .values = {nested}};
    Value again = RawValue(kBinaryXml, {});
    outer.values.push_back(again);
    nested = InstanceValue(outer);
  }
  return FillWith([&](int) { return InstanceFragment(body, {nested, nested}); });
}

ByteString Units(std::u16string_view text) {
  ByteString bytes;
  PutWide(bytes, text);
  return bytes;
}

// Records of `length` bytes one behind another, each with as many strings as can be claimed, each
// of which begins one unit behind the one before and has no end.
ByteString OverlappingStrings(std::uint32_t length, std::uint8_t byte) {
  ByteString log = EvtBuilder().Build({.end_record = false});
  ByteString record(length, byte);
  if (length >= 8) {
    SetU32(record, 0, length);
    SetU32(record, 4, 0x654C664C);
  }
  if (length >= 64) {
    std::fill(record.begin() + 8, record.begin() + 56, std::uint8_t{0});
    SetU32(record, 24, 0xFFFF'0004);  // the type, and the number of strings
    SetU32(record, 36, 56);
  }
  while (length > 0 && log.size() + length <= kEvtxChunkSize) PutBytes(log, record);
  log.resize(kEvtxChunkSize, byte);
  return log;
}

// A record of many strings among many that have none.
ByteString UnlikeEvtRecords() {
  EvtBuilder log;
  log.AddEntry({.event_id = 1, .strings = std::vector<std::string>(10'000)});
  for (int i = 0; i < 400; ++i) log.AddEntry({.event_id = 1});
  ByteString file = log.Build();
  return file;
}

// Two levels of repetition in front of an element of the record's own name, which is numbered where
// later values of a name are told.
ByteString NumberedNames() {
  const auto nest = [](const char* name, std::size_t times, Instance inner) {
    Instance instance;
    instance.definition =
        MakeTemplate(name, {Element("E", {}, std::vector<Node>(times, Slot(0, kBinaryXml)))});
    instance.values = {InstanceValue(std::move(inner))};
    return instance;
  };
  EvtxBuilder log;
  for (int i = 0; i < 150; ++i) {
    const std::string name = "n" + std::to_string(i);
    Instance inner;
    inner.definition = MakeTemplate(name, {Element(name, {}, {Text("x")})});
    Fragment body;
    body.instance.push_back(nest("outer", 64, nest("middle", 64, std::move(inner))));
    log.AddRecord({.body = body});
  }
  return log.BuildChunks();
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
          {"shared repeats", SharedRepeats(600, 30)},
          {"overlapping definitions", OverlappingDefinitions()},
          {"long names", LongNames()},
          {"names in every row", NamesInEveryRow()},
          {"table for every record", TableForEveryRecord(400, "")},
          {"long names in each", TableForEveryRecord(8, std::string(1000, 'x'))},
          {"nested arrays", NestedArrays()},
          {"single-byte text", OverATail(kAnsiString, 1, Hex("41"), 400)},
          {"wide text of line breaks", OverATail(kString, 0x7FFE, Units(u"\n"), 500)},
          {"wide text of three bytes", OverATail(kString, 0x7FFE, Units(u"\u4E00"), 500)},
          {"wide text of pairs", OverATail(kString, 0x7FFE, Hex("3D D8 00 DE"), 500)},
          {"wide text of zeros", OverATail(kString, 0x7FFE, Hex("00 00"), 500)},
          {"list of short texts", OverATail(kStringArray, 0x7FFE, Hex("41 00 00 00"), 500)},
          {"list of empty texts", OverATail(kStringArray, 0x7FFE, Hex("00 00 00 00"), 500)},
          {"long binary", OverATail(kBinary, 0x7FFE, Hex("5A"), 500)},
          {"text of few records", OverATail(kString, 0x7FFE, Units(u"a,b|"), 12)},
          {"doubles", ManyValues(DoubleValue(-1.7e308))},
          {"doubles in attributes", ManyAttributes(DoubleValue(-1.7e308))},
          {"small doubles", ManyValues(DoubleValue(1.2345678e-300))},
          {"times", ManyValues(FileTimeValue(Filetime(2012, 3, 7, 14, 5, 9, 1234567)))},
          {"calendar times", ManyValues(SysTimeValue({2012, 3, 3, 7, 14, 5, 9, 7}))},
          {"guids", ManyValues(GuidValue("54849625-5478-4994-a5ba-3e3b0328c30d"))},
          {"sids", ManyValues(SidValue("S-1-5-21-4000000001-4000000002-4000000003-4000000004"))},
          {"numbered names", NumberedNames()},
          {"attributes of one name", SameAttributes()},
          {"array inside of what is repeated", ArrayInsideOfRepeated()},
          {"bytes of no time", OverATail(kFileTime, 0x7FFE, Hex("FF"), 500)},
          {"single-byte text of two", OverATail(kAnsiString, 0x7FFE, Hex("80"), 500)},
          {"list of bytes", OverATail(kSByte | 0x80, 0x7FFE, Hex("80"), 500)},
          {"list of doubles", OverATail(kDouble | 0x80, 0x7FFE, Hex("FFFFFFFFFFFFEFFF"), 500)}};
}

std::vector<CraftedLog> CraftedLogs() {
  std::vector<CraftedLog> logs;
  for (CraftedChunk& chunk : CraftedChunks()) {
    logs.push_back({std::move(chunk.name), FileOfChunks(chunk.bytes, 1), ".evtx"});
  }
  logs.push_back({"evt, overlapping strings", OverlappingStrings(8192, 0x41), ".evt"});
  logs.push_back({"evt, short records of those", OverlappingStrings(1024, 0x4E), ".evt"});
  logs.push_back({"evt, one record of those", OverlappingStrings(65'000, 0x41), ".evt"});
  logs.push_back({"evt, empty strings", OverlappingStrings(8192, 0), ".evt"});
  logs.push_back({"evt, unlike records", UnlikeEvtRecords(), ".evt"});
  logs.push_back({"evt, records of eight bytes", OverlappingStrings(8, 0x41), ".evt"});
  logs.push_back({"evt, no records", OverlappingStrings(0, 0x41), ".evt"});
  return logs;
}

ByteString FileOfChunks(const ByteString& chunk, int copies) {
  ByteString file = EvtxBuilder().Build();
  file.resize(kEvtxHeaderSize);
  for (int i = 0; i < copies; ++i) PutBytes(file, chunk);
  return file;
}

}  // namespace tarnlex
