// Templates and plans outlive their chunk: the same provider defines the same template in chunk
// after chunk, and telling that two definitions are alike is much cheaper than compiling one anew.
// Nothing is put into the store while a chunk is read; what the chunk has learnt is taken over at
// its end.
#pragma once

#include <array>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "event/plan.h"
#include "event/tree.h"
#include "logs/bytes.h"

namespace tarnlex {

using Guid = std::array<std::uint8_t, 16>;

// An order of GUIDs that is told by two comparisons of numbers.
struct GuidOrder {
  bool operator()(const Guid& a, const Guid& b) const {
    const auto first = [](const Guid& guid) { return Load<std::uint64_t>(guid.data()); };
    const auto last = [](const Guid& guid) { return Load<std::uint64_t>(guid.data() + 8); };
    return first(a) != first(b) ? first(a) < first(b) : last(a) < last(b);
  }
};

template <typename T>
using ByGuid = std::map<Guid, T, GuidOrder>;

// A place of a template body where chunks differ though the template is the same: the offset of a
// name.
struct NameField {
  std::uint32_t position = 0;  // of the offset, from the body's start
  std::uint32_t size = 0;      // of the name: hash, character count and characters
  bool follows = false;        // the name record stands right behind it
};

struct StoredTemplate {
  Guid guid{};
  std::vector<std::uint8_t> body;
  std::vector<NameField> names;
  std::vector<std::uint8_t> name_bytes;  // of all of them, one behind the other
  std::unique_ptr<Tree> tree;
};

// Which names the records of a kind give, in which order and out of which slots, depends only on
// these: the record's tree, the tree of the one instance inside of its values, and their slots.
struct PlanKey {
  const Tree* own = nullptr;
  const Tree* nested = nullptr;
  std::uint32_t own_count = 0;
  std::uint32_t nested_count = 0;
  std::uint64_t binary_xml = 0;
  auto operator<=>(const PlanKey&) const = default;
};

// A null plan stands for records that need one each.
using PlanTable = std::map<PlanKey, std::unique_ptr<Plan>>;

// Trees of streams of elements, by what these hold beside their texts (see element_kind.h).
using KindTable = std::map<std::string, std::unique_ptr<Tree>, std::less<>>;

// Templates of one GUID.
using Variants = std::vector<StoredTemplate>;

// What was found of late, each in the only place that it may have: where the tables have it. Of few
// kinds there are many records.
struct RecentlyFound {
  struct PlanPlace {
    PlanKey key;
    const std::unique_ptr<Plan>* plan = nullptr;
  };
  static constexpr std::size_t kPlaces = 256;
  std::array<PlanPlace, kPlaces> plans = {};
  std::array<const std::pair<const Guid, Variants>*, kPlaces> templates = {};
};

struct TemplateStore {
  ByGuid<Variants> by_guid;
  KindTable kinds;
  PlanTable plans;
  RecentlyFound recent;
  std::size_t bytes = 0;         // roughly what all templates and kinds take
  std::size_t plan_room = 0;     // of all plans, see RoomOf
  std::uint32_t plans_made = 0;  // with those that did not outlive their chunk
  std::uint32_t trees_kept = 0;
};

// The stored tree of a body that is alike, or null.
const Tree* FindTemplate(TemplateStore& store, const Guid& guid, Bytes chunk, std::uint32_t begin,
                         std::uint32_t end);

// What it takes to compare the body from `begin` to `end` with others, all but its tree. False when
// it cannot be compared: it holds instances, or names that could not be read.
bool DescribeTemplate(const Guid& guid, Bytes chunk, std::uint32_t begin, std::uint32_t end,
                      StoredTemplate& described);

// Takes a template over, and marks its tree as kept, unless there is no room for it; `stored` keeps
// it then.
void KeepTemplate(TemplateStore& store, StoredTemplate& stored);

// Takes over the trees of kinds, as far as there is room for them.
void KeepKinds(TemplateStore& store, KindTable& kinds);

// Takes over the plans whose trees are kept.
void KeepPlans(TemplateStore& store, PlanTable& plans);

// A number by which keys are mostly told apart.
std::size_t PlaceOf(const PlanKey& key, std::size_t places);

// What is kept of the key; null for nothing.
const std::unique_ptr<Plan>* FindKept(TemplateStore& store, const PlanKey& key);

// What a plan takes to keep: its values, their parts and the items of its document, each being one,
// and its texts. Few values may be made of thousands of parts.
std::size_t RoomOf(const Plan& plan);

// Whether so many more plans may be made, which take so much room together.
bool HasRoomForPlan(const TemplateStore& store, std::size_t plans, std::size_t room);

// Whether half of what the store may hold is taken.
bool IsHalfFull(const TemplateStore& store);

}  // namespace tarnlex
