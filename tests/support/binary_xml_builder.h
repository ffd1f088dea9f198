// Binary XML for synthetic EVTX chunks: elements, templates, values and the fragments made of them,
// laid down in a chunk the way the logging service does it (names and definitions stand where a
// chunk first uses them and are referred to afterwards).
#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "tests/support/put_bytes.h"

namespace tarnlex::support {

// Value types of substitution values, as stored.
enum ValueType : std::uint8_t {
  kNull = 0x00,
  kString = 0x01,
  kAnsiString = 0x02,
  kSByte = 0x03,
  kByte = 0x04,
  kInt16 = 0x05,
  kUInt16 = 0x06,
  kInt32 = 0x07,
  kUInt32 = 0x08,
  kInt64 = 0x09,
  kUInt64 = 0x0A,
  kSingle = 0x0B,
  kDouble = 0x0C,
  kBoolean = 0x0D,
  kBinary = 0x0E,
  kGuid = 0x0F,
  kSizeT = 0x10,
  kFileTime = 0x11,
  kSysTime = 0x12,
  kSid = 0x13,
  kHexInt32 = 0x14,
  kHexInt64 = 0x15,
  kEvtHandle = 0x20,
  kBinaryXml = 0x21,
  kEvtXml = 0x23,
  kStringArray = 0x81,
  kHexInt32Array = 0x94,
  kHexInt64Array = 0x95,
};

struct Instance;

// One piece of binary XML; made by the functions below.
struct Node {
  enum class Kind {
    kElement,
    kAttribute,
    kText,
    kSlot,
    kCharacters,
    kNamed,
    kInstance,
    kRaw,
  };
  Kind kind = Kind::kRaw;
  std::uint8_t token = 0;  // the token byte of kText, kSlot, kCharacters and kNamed
  std::u16string text = {};
  std::uint16_t number = 0xFFFF;  // a slot's number, an element's dependency identifier
  std::uint8_t type = 0;
  ByteString raw = {};
  std::vector<Node> attributes = {};
  std::vector<Node> children = {};
  std::vector<Instance> instances = {};  // none or one
};

// An element. Attributes lead to an attribute list (with the 0x40 flag on the element); no children
// give an empty element (<a/>).
Node Element(std::string_view name, std::vector<Node> attributes = {},
             std::vector<Node> children = {});
// The element with the dependency identifier of a slot: left out when that slot is null.
Node DependingOn(std::uint16_t slot, Node element);
Node Attribute(std::string_view name, std::vector<Node> value);
Node Attribute(std::string_view name, Node value);
Node Attribute(std::string_view name, std::string_view value);
// A literal value (token 0x05); with `more`, 0x45.
Node Text(std::string_view utf8, bool more = false);
Node WideText(std::u16string_view units, bool more = false);
// Substitutions: normal (0x0D) and optional (0x0E).
Node Slot(std::uint16_t number, std::uint8_t type);
Node OptionalSlot(std::uint16_t number, std::uint8_t type);
// The tokens that readers stop at.
Node CData(std::string_view utf8);
Node CharacterReference(std::uint16_t code);
Node EntityReference(std::string_view name);
Node ProcessingTarget(std::string_view name);
Node ProcessingData(std::string_view utf8);
// A template instance standing as a token among others.
Node InstanceNode(Instance instance);
// Bytes as they are.
Node Raw(ByteString bytes);

struct Template {
  Guid guid = {};
  std::vector<Node> body = {};
  bool header = true;                             // the body begins with 0F 01 01 00
  bool end_token = true;                          // and ends with 00
  std::optional<std::uint32_t> stated_size = {};  // a size other than the body's own
};
// A template with a GUID made from `name`.
Template MakeTemplate(std::string_view name, std::vector<Node> body);

struct Fragment;

// One substitution value; made by the functions below.
struct Value {
  std::uint8_t type = kNull;
  ByteString bytes = {};
  std::vector<Fragment> nested = {};              // binary XML, laid down in place
  std::optional<std::uint16_t> stated_size = {};  // a size other than the value's own
};

Value RawValue(std::uint8_t type, ByteString bytes);
Value NullValue();
Value StringValue(std::string_view utf8);
Value WideStringValue(std::u16string_view units);
Value AnsiStringValue(std::string_view text);
Value SByteValue(int value);
Value ByteValue(unsigned value);
Value Int16Value(int value);
Value UInt16Value(unsigned value);
Value Int32Value(std::int32_t value);
Value UInt32Value(std::uint32_t value);
Value Int64Value(std::int64_t value);
Value UInt64Value(std::uint64_t value);
Value SingleValue(float value);
Value DoubleValue(double value);
Value BooleanValue(bool value);
Value BinaryValue(ByteString bytes);
Value GuidValue(std::string_view text);
Value SizeTValue(std::uint64_t value);
Value FileTimeValue(std::uint64_t value);
// Year, month, day of the week, day, hour, minute, second, milliseconds.
Value SysTimeValue(const std::array<std::uint16_t, 8>& parts);
Value SidValue(std::string_view text);
Value HexInt32Value(std::uint32_t value);
Value HexInt64Value(std::uint64_t value);
// Each string with its terminating zero unit.
Value StringArrayValue(const std::vector<std::string>& strings);
Value HexInt32ArrayValue(const std::vector<std::uint32_t>& values);
Value HexInt64ArrayValue(const std::vector<std::uint64_t>& values);
// Binary XML: a template instance (with or without the fragment header before it), or elements.
Value InstanceValue(Instance instance, bool header = true);
Value ElementsValue(std::vector<Node> nodes, bool header = true);

// A template with its values. The definition is written here when the chunk does not hold it yet;
// else the place of its first use is referred to.
struct Instance {
  Template definition = {};
  std::vector<Value> values = {};
  bool repeat_definition = false;  // write the definition here even when the chunk holds it
  std::optional<std::uint32_t> definition_offset = {};  // refer to this offset; write no definition
  std::optional<std::uint32_t> stated_count = {};       // a count other than the values' own
};

// What a record or a binary-XML value holds: an instance, or nodes when there is none. Elements of
// such nodes carry no dependency identifier unless told to.
struct Fragment {
  std::vector<Instance> instance = {};  // none or one
  std::vector<Node> nodes = {};
  bool header = true;
  bool end_token = true;
  bool dependency_ids = false;
};

// One chunk under construction: `bytes` begins with the 512-byte header, whose two hash tables are
// kept up to date; the write functions append at its end.
struct ChunkImage {
  ByteString bytes = ByteString(512);
  std::map<std::u16string, std::uint32_t> names = {};
  std::map<Guid, std::uint32_t> templates = {};
};

void WriteNodes(ChunkImage& chunk, const std::vector<Node>& nodes, bool dependency_ids);
// Returns the definition's offset.
std::uint32_t WriteDefinition(ChunkImage& chunk, const Template& definition);
void WriteFragment(ChunkImage& chunk, const Fragment& fragment);

// The hash that sorts names (and, over a GUID's eight units, templates) into buckets.
std::uint32_t HashUnits(std::u16string_view units);

}  // namespace tarnlex::support
