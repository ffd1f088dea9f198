// The substitution values of binary_xml_builder.h.
#include <bit>
#include <utility>

#include "tests/support/binary_xml_builder.h"

namespace tarnlex::support {
namespace {

// A value of `size` bytes, lowest first; numbers are cut as the stored type cuts them.
Value NumberValue(std::uint8_t type, std::uint64_t number, std::size_t size) {
  ByteString bytes;
  PutU64(bytes, number);
  bytes.resize(size);
  return RawValue(type, std::move(bytes));
}

std::uint64_t Unsigned(std::int64_t value) { return static_cast<std::uint64_t>(value); }

Value FragmentValue(Fragment fragment) {
  Value value = RawValue(kBinaryXml, {});
  value.nested.push_back(std::move(fragment));
  return value;
}

}  // namespace

Value RawValue(std::uint8_t type, ByteString bytes) {
  return {.type = type, .bytes = std::move(bytes)};
}

Value NullValue() { return {}; }
Value StringValue(std::string_view utf8) { return WideStringValue(Wide(utf8)); }

Value WideStringValue(std::u16string_view units) {
  Value value = RawValue(kString, {});
  PutWide(value.bytes, units);
  return value;
}

Value AnsiStringValue(std::string_view text) {
  return RawValue(kAnsiString, ByteString(text.begin(), text.end()));
}

Value SByteValue(int value) { return NumberValue(kSByte, Unsigned(value), 1); }
Value ByteValue(unsigned value) { return NumberValue(kByte, value, 1); }
Value Int16Value(int value) { return NumberValue(kInt16, Unsigned(value), 2); }
Value UInt16Value(unsigned value) { return NumberValue(kUInt16, value, 2); }
Value Int32Value(std::int32_t value) { return NumberValue(kInt32, Unsigned(value), 4); }
Value UInt32Value(std::uint32_t value) { return NumberValue(kUInt32, value, 4); }
Value Int64Value(std::int64_t value) { return NumberValue(kInt64, Unsigned(value), 8); }
Value UInt64Value(std::uint64_t value) { return NumberValue(kUInt64, value, 8); }

Value SingleValue(float value) {
  return NumberValue(kSingle, std::bit_cast<std::uint32_t>(value), 4);
}

Value DoubleValue(double value) {
  return NumberValue(kDouble, std::bit_cast<std::uint64_t>(value), 8);
}

Value BooleanValue(bool value) { return NumberValue(kBoolean, value ? 1 : 0, 4); }
Value BinaryValue(ByteString bytes) { return RawValue(kBinary, std::move(bytes)); }

Value GuidValue(std::string_view text) {
  const Guid guid = ParseGuid(text);
  return RawValue(kGuid, ByteString(guid.begin(), guid.end()));
}

Value SizeTValue(std::uint64_t value) { return NumberValue(kSizeT, value, 8); }
Value FileTimeValue(std::uint64_t value) { return NumberValue(kFileTime, value, 8); }

Value SysTimeValue(const std::array<std::uint16_t, 8>& parts) {
  Value value = RawValue(kSysTime, {});
  for (const std::uint16_t part : parts) PutU16(value.bytes, part);
  return value;
}

Value SidValue(std::string_view text) { return RawValue(kSid, SidBytes(text)); }
Value HexInt32Value(std::uint32_t value) { return NumberValue(kHexInt32, value, 4); }
Value HexInt64Value(std::uint64_t value) { return NumberValue(kHexInt64, value, 8); }

Value StringArrayValue(const std::vector<std::string>& strings) {
  Value value = RawValue(kStringArray, {});
  for (const std::string& text : strings) {
    PutWide(value.bytes, Wide(text));
    PutU16(value.bytes, 0);
  }
  return value;
}

Value HexInt32ArrayValue(const std::vector<std::uint32_t>& values) {
  Value value = RawValue(kHexInt32Array, {});
  for (const std::uint32_t number : values) PutU32(value.bytes, number);
  return value;
}

Value HexInt64ArrayValue(const std::vector<std::uint64_t>& values) {
  Value value = RawValue(kHexInt64Array, {});
  for (const std::uint64_t number : values) PutU64(value.bytes, number);
  return value;
}

Value InstanceValue(Instance instance, bool header) {
  Fragment fragment;
  fragment.instance.push_back(std::move(instance));
  fragment.header = header;
  return FragmentValue(std::move(fragment));
}

Value ElementsValue(std::vector<Node> nodes, bool header) {
  Fragment fragment;
  fragment.nodes = std::move(nodes);
  fragment.header = header;
  return FragmentValue(std::move(fragment));
}

}  // namespace tarnlex::support
