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
#include <vector>

#include "event/plan.h"
#include "event/tree.h"
#include "logs/bytes.h"

namespace tarnlex {

using Guid = std::array<std::uint8_t, 16>;

// A place of a template body where chunks differ though the template is the same: the offset of a
// name.
struct NameField {
  std::uint32_t position = 0;        // of the offset, from the body's start
  bool follows = false;              // the name record stands right behind it
  std::vector<std::uint8_t> record;  // hash, character count and characters
};

struct StoredTemplate {
  Guid guid{};
  std::vector<std::uint8_t> body;
  std::vector<NameField> names;
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

struct TemplateStore {
  std::map<Guid, std::vector<StoredTemplate>> by_guid;
  KindTable kinds;
  PlanTable plans;
  std::size_t bytes = 0;         // roughly what all templates and kinds take
  std::size_t plan_values = 0;   // of all plans
  std::uint32_t plans_made = 0;  // with those that did not outlive their chunk
};

// The stored tree of a body that is alike, or null.
const Tree* FindTemplate(const TemplateStore& store, const Guid& guid, Bytes chunk,
                         std::uint32_t begin, std::uint32_t end);

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

// Whether so many more plans may be made, of so many values together.
bool HasRoomForPlan(const TemplateStore& store, std::size_t plans, std::size_t values);

// Whether half of what the store may hold is taken.
bool IsHalfFull(const TemplateStore& store);

}  // namespace tarnlex
