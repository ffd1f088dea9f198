// Substitution arrays and the template instances that they belong to: where their parts lie.
#pragma once

#include <array>
#include <cstdint>

#include "event/policy.h"
#include "event/structure.h"
#include "evtx/evtx_format.h"
#include "logs/bytes.h"

namespace tarnlex {

// One parsed array.
struct SubstitutionArray {
  std::uint32_t first = 0;         // of its values, where they were put
  std::uint32_t count = 0;         // of those taken
  std::uint32_t end = 0;           // of the last value taken: where what follows begins
  std::uint32_t bytes = 0;         // of the values taken
  std::uint64_t binary_xml = 0;    // bit N: value N is binary XML
  bool binary_xml_beyond = false;  // so is one that has no bit
  bool cut = false;                // values that would run past the chunk were left out
  bool has_ansi = false;           // a single-byte string, whose size bounds nothing, is among them
  bool has_lists = false;          // so is an array of values
};

// How many values an array may count under a policy.
constexpr std::uint32_t MostArrayValues(Policy policy) {
  return policy == Policy::kLiteral ? kMaxArrayValues : kChunkSize / kDescriptorSize;
}

// Parses the array at `offset` of the chunk and puts its values behind those in `slots`. False, the
// array empty, when fewer than 8 bytes remain, when it counts more values than the policy takes, or
// when its descriptors do not fit. A value that would not fit ends the array; what came before it
// stays.
bool ParseSubstitutionArray(Bytes chunk, std::uint32_t offset, Policy policy, SlotList& slots,
                            SubstitutionArray& array);

// Where such an array ends; false when it cannot be parsed.
bool FindArrayEnd(Bytes chunk, std::uint32_t offset, Policy policy, std::uint32_t& end);

inline bool HoldsBinaryXml(const SubstitutionArray& array) {
  return array.binary_xml != 0 || array.binary_xml_beyond;
}

inline bool HoldsOneBinaryXml(const SubstitutionArray& array) {
  // std::has_single_bit is a call where the processor may be any.
  const std::uint64_t but_one = array.binary_xml & (array.binary_xml - 1);
  return array.binary_xml != 0 && but_one == 0 && !array.binary_xml_beyond;
}

// A template instance: the definition that it names and its array.
struct TemplateInstance {
  std::uint32_t definition = 0;  // chunk-relative offset
  std::uint32_t array = 0;       // chunk-relative offset; may lie behind the chunk's end
};

// A definition's head.
struct DefinitionHead {
  std::uint32_t next = 0;
  std::array<std::uint8_t, 16> guid{};
  std::uint32_t size = 0;  // of the body
};

// Reads the 24 bytes at `offset`; false when they do not lie inside the chunk.
bool ReadDefinitionHead(Bytes chunk, std::uint32_t offset, DefinitionHead& head);

// Whether the instance whose token stands at `token` is one of the template whose definition has
// that head: a definition that was overwritten does not begin with what the instance repeats of it.
bool IsInstanceOf(Bytes chunk, std::uint32_t token, const DefinitionHead& head);

// The instance whose token stands at `token`: its definition stands directly behind the token
// (inline), with the array behind it, or elsewhere, with the array directly behind the token. False
// when the token or an inline definition's head does not lie inside the chunk.
bool LocateInstance(Bytes chunk, std::uint32_t token, TemplateInstance& instance);

}  // namespace tarnlex
