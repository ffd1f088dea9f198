// Logs whose nesting no real log has.
#pragma once

#include <string>
#include <utility>

#include "tests/support/evtx_builder.h"

namespace tarnlex {

// An instance whose only value is an instance, `levels` of them below it. The one at level N has an
// element "LN" and its own definition inline.
inline support::Instance NestedInstances(int levels, int level = 0) {
  using namespace support;
  Instance instance;
  const std::string name = "L" + std::to_string(level);
  instance.definition = MakeTemplate(
      name, {Element(name, {}, {Text("x")}), Element("W", {}, {OptionalSlot(0, kBinaryXml)})});
  instance.values = {level < levels ? InstanceValue(NestedInstances(levels, level + 1))
                                    : NullValue()};
  return instance;
}

inline support::Fragment NestedFragment(int levels) {
  support::Fragment fragment;
  fragment.instance.push_back(NestedInstances(levels));
  return fragment;
}

// The body of a record at `offset`: an event with the identifier 7 and an array of 28 instances,
// each of which leads to one and the same array of 28 instances, and so on for `levels` levels.
inline support::ByteString ExplodingBody(std::uint32_t offset, int levels) {
  using namespace support;
  constexpr std::uint32_t kValues = 28;
  constexpr std::uint32_t kValueSize = 35;
  ChunkImage image;
  image.bytes.resize(offset + 24);
  Fragment own;
  own.instance.push_back(
      {.definition = MakeTemplate("own", {Element("EventID", {}, {Text("7")})})});
  WriteFragment(image, own);
  ByteString& bytes = image.bytes;
  bytes.erase(bytes.end() - 4, bytes.end());  // its empty array
  for (int level = 0; level < levels; ++level) {
    PutU32(bytes, kValues);
    for (std::uint32_t i = 0; i < kValues; ++i) PutBytes(bytes, {kValueSize, 0, kBinaryXml, 0});
    const std::size_t next = bytes.size() + std::size_t{kValues} * kValueSize;
    for (std::uint32_t i = 0; i < kValues; ++i) {
      // A definition that stands inline and whose body, ended by its first byte, reaches to the
      // array of the next level.
      PutBytes(bytes, {0x0C, 0x01, 0, 0, 0, 0});
      PutU32(bytes, static_cast<std::uint32_t>(bytes.size() + 4));
      PutBytes(bytes, ByteString(20));
      PutU32(bytes, static_cast<std::uint32_t>(next - bytes.size() - 4));
      PutU8(bytes, 0x00);
    }
  }
  PutU32(bytes, 0);
  PutU32(bytes, 0);
  return {bytes.begin() + offset + 24, bytes.end()};
}

}  // namespace tarnlex
