// JSON objects whose shape is known before their values, while they are made (json_steps.h is what
// records are written by).
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <string>
#include <string_view>
#include <vector>

namespace tarnlex {

// A part of a value: a literal text, escaped, or a slot.
struct JsonPart {
  std::string literal;
  bool is_slot = false;
  std::uint32_t slot = 0;  // position in EventStructure::slots
};

enum class JsonShape : std::uint8_t { kValue, kObject, kList };

// What a member's value has to be whatever its slot's type is.
enum class JsonRole : std::uint8_t {
  kAsTyped,
  kNumber,  // a text of decimal digits is a number: the same record may be forwarded as text
  kTime,    // a text that is an ISO 8601 time gets the form of all times
  kGuid,    // a GUID's text loses its braces and capitals
};

// A member of an object, or an entry of a list. One without any value is left out, as is an object
// or list without any entry; a slot of type null has no value.
struct JsonMember {
  std::string key;  // "\"Name\":", escaped; empty in a list
  JsonShape shape = JsonShape::kValue;
  JsonRole role = JsonRole::kAsTyped;
  std::vector<JsonPart> parts;      // kValue
  std::vector<JsonMember> members;  // kObject, kList
};

JsonMember MakeMember(std::string_view name, JsonShape shape);

// An object while it is made.
struct JsonObject {
  JsonMember object;
  // Of its members, by key; filled once there are many.
  std::map<std::string, std::size_t, std::less<>> places = {};
};
JsonObject MakeObject(std::string_view name);

// The member of that key, or null.
JsonMember* FindMember(JsonObject& object, std::string_view key);

// Adds a member. One whose name is there already goes into a list with it, in order.
void AddMember(JsonObject& object, JsonMember member);

}  // namespace tarnlex
