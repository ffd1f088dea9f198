#include "output/json_layout.h"

#include <algorithm>
#include <utility>

#include "output/json_text.h"

namespace tarnlex {
namespace {

constexpr std::size_t kFewMembers = 16;  // are looked through one by one

}  // namespace

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

}  // namespace tarnlex
