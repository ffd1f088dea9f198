#include "output/json_layout.h"

#include <algorithm>
#include <cstring>
#include <utility>

#include "event/slot_text.h"
#include "logs/iso_time.h"
#include "logs/parse_number.h"
#include "logs/text.h"
#include "output/json_text.h"

namespace tarnlex {
namespace {

constexpr std::size_t kFewMembers = 16;  // are looked through one by one

// The text between quotes; returns the end.
char* WriteParts(const EventStructure& event, const JsonMember& member, char* out) {
  for (const JsonPart& part : member.parts) {
    if (!part.is_slot) {
      out = CopyText(part.literal, out);
      continue;
    }
    char* const end = WriteCompleteText(event.bytes, event.slots[part.slot], out);
    out = EscapeJson(out, end);
  }
  return out;
}

// Whether a text can be the number that it spells.
bool IsNumber(std::string_view text) {
  return IsDecimal(text) && text.size() <= 19 && (text.size() == 1 || text[0] != '0');
}

bool IsBracedGuid(std::string_view text) {
  constexpr std::size_t kBraced = kGuidTextSize + 2;
  return text.size() == kBraced && text.front() == '{' && text.back() == '}';
}

char* WriteQuoted(const EventStructure& event, const JsonMember& member, char* out) {
  *out = '"';
  char* const end = WriteParts(event, member, out + 1);
  const std::string_view text(out + 1, static_cast<std::size_t>(end - out - 1));
  std::uint64_t filetime = 0;
  if (member.role == JsonRole::kNumber && IsNumber(text)) {
    std::memmove(out, text.data(), text.size());
    return end - 1;
  }
  if (member.role == JsonRole::kTime && ParseIsoTime(text, filetime)) {
    return WriteJsonTime(filetime, out);
  }
  if (member.role == JsonRole::kGuid && IsBracedGuid(text)) {
    std::transform(out + 2, end - 1, out + 1, LowerAscii);
    end[-2] = '"';
    return end - 1;
  }
  *end = '"';
  return end + 1;
}

// A text takes part in no typing; a slot alone is what its type says.
char* WriteValue(const EventStructure& event, const JsonMember& member, char* out) {
  const JsonPart& first = member.parts.front();
  if (member.parts.size() > 1 || !first.is_slot) return WriteQuoted(event, member, out);
  const SubstitutionValue& value = event.slots[first.slot];
  return member.role != JsonRole::kAsTyped && value.type == kEvtVarTypeString
             ? WriteQuoted(event, member, out)
             : WriteJsonValue(event, value, out);
}

// The array that is all of an entry of a list, and whose values are entries themselves; or null.
const SubstitutionValue* ArrayEntry(const EventStructure& event, const JsonMember& member) {
  if (!member.key.empty() || member.parts.size() != 1 || !member.parts[0].is_slot) return nullptr;
  const SubstitutionValue& value = event.slots[member.parts[0].slot];
  return IsArray(value) ? &value : nullptr;
}

// Writes a member, or nothing if it has no value.
char* WriteMember(const EventStructure& event, const JsonMember& member, char* out) {
  if (member.shape == JsonShape::kValue && !HasValue(event, member)) return out;
  if (const SubstitutionValue* array = ArrayEntry(event, member)) {
    return WriteJsonEntries(event, *array, out);
  }
  char* at = CopyText(member.key, out);
  if (member.shape == JsonShape::kValue) return WriteValue(event, member, at);
  const bool is_list = member.shape == JsonShape::kList;
  *at++ = is_list ? '[' : '{';
  char* const end = WriteMembers(event, member, true, at);
  if (end == at) return out;
  *end = is_list ? ']' : '}';
  return end + 1;
}

}  // namespace

bool HasValue(const EventStructure& event, const JsonMember& member) {
  return std::any_of(member.parts.begin(), member.parts.end(), [&event](const JsonPart& part) {
    return !part.is_slot || event.slots[part.slot].type != kEvtVarTypeNull;
  });
}

JsonMember MakeMember(std::string_view name, JsonShape shape) {
  JsonMember member;
  member.key = JsonString(name, ":");
  member.shape = shape;
  return member;
}

JsonObject MakeObject(std::string_view name) { return {MakeMember(name, JsonShape::kObject)}; }

JsonMember* FindMember(JsonObject& object, std::string_view key) {
  std::vector<JsonMember>& members = object.object.members;
  if (members.size() <= kFewMembers) {
    const auto found = std::find_if(members.begin(), members.end(),
                                    [key](const JsonMember& member) { return member.key == key; });
    return found == members.end() ? nullptr : &*found;
  }
  for (std::size_t i = object.places.size(); i < members.size(); ++i) {
    object.places.emplace(members[i].key, i);
  }
  const auto place = object.places.find(key);
  return place == object.places.end() ? nullptr : &members[place->second];
}

void AddMember(JsonObject& object, JsonMember member) {
  JsonMember* const same = FindMember(object, member.key);
  if (!same) {
    object.object.members.push_back(std::move(member));
    return;
  }
  if (same->shape != JsonShape::kList) {
    JsonMember list;
    list.key = std::exchange(same->key, {});
    list.shape = JsonShape::kList;
    list.members.push_back(std::move(*same));
    *same = std::move(list);
  }
  member.key.clear();
  same->members.push_back(std::move(member));
}

std::size_t FixedSize(const JsonMember& member) {
  std::size_t size = member.key.size() + kJsonOverhead;
  for (const JsonPart& part : member.parts) size += part.literal.size() + kJsonOverhead;
  for (const JsonMember& inner : member.members) size += FixedSize(inner);
  return size;
}

char* WriteMembers(const EventStructure& event, const JsonMember& object, bool first, char* out) {
  for (const JsonMember& member : object.members) {
    char* const at = first ? out : out + 1;
    char* const end = WriteMember(event, member, at);
    if (end == at) continue;
    if (!first) *out = ',';
    out = end;
    first = false;
  }
  return out;
}

}  // namespace tarnlex
