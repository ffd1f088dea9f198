#include "evtx/template_store.h"

#include <algorithm>
#include <cstring>

#include "evtx/binary_xml.h"
#include "evtx/evtx_format.h"

namespace tarnlex {
namespace {

constexpr std::size_t kMaxStoreBytes = std::size_t{8} << 20;
constexpr std::size_t kMaxPlans = 4096;
constexpr std::size_t kMaxPlanRoom = std::size_t{1} << 20;  // of all plans
constexpr std::size_t kTextPerRoom = 64;                    // bytes that take as much as a value
// Many tokens may name the same long name; such a body is not worth its copies.
constexpr std::size_t kMaxNameBytes = std::size_t{64} << 10;
constexpr std::size_t kMaxVariants = 32;  // bodies of one GUID: names stand here or there
constexpr std::uint32_t kOffsetSize = 4;
constexpr std::uint32_t kLinkSize = 4;

// Hash, count and characters of a name record: all but the link, which is the chunk's own business.
Bytes ComparedRecord(Bytes chunk, std::uint32_t offset, std::size_t size) {
  return Fits(chunk, std::uint64_t{offset} + kLinkSize, size)
             ? chunk.subspan(offset + kLinkSize, size)
             : Bytes{};
}

inline bool SameName(const NameField& field, const std::uint8_t* name, Bytes chunk,
                     std::uint32_t begin) {
  const std::uint32_t at = begin + field.position;
  const std::uint32_t offset = Load<std::uint32_t>(chunk.data() + at);
  if ((offset == at + kOffsetSize) != field.follows) return false;
  const Bytes record = ComparedRecord(chunk, offset, field.size);
  return !record.empty() && SameBytes(record.data(), name, field.size);
}

// Templates are many, and each is met once in a chunk: it lies in no near cache any more.
template <typename T>
void FetchAhead(const std::vector<T>& values) {
  constexpr std::size_t kLine = 64;
  constexpr std::size_t kMost = 16 * kLine;  // behind that it is read in order anyway
  const auto* const from = reinterpret_cast<const char*>(values.data());
  const std::size_t size = std::min(values.size() * sizeof(T), kMost);
  for (std::size_t at = 0; at < size; at += kLine) __builtin_prefetch(from + at);
}

// Compares everything between the name fields, then the names.
bool IsAlike(const StoredTemplate& cached, Bytes chunk, std::uint32_t begin) {
  const std::uint8_t* const own = chunk.data() + begin;
  const std::uint8_t* const body = cached.body.data();
  const std::uint8_t* name = cached.name_bytes.data();
  FetchAhead(cached.names);
  FetchAhead(cached.body);
  FetchAhead(cached.name_bytes);
  std::uint32_t from = 0;
  for (const NameField& field : cached.names) {
    if (!SameBytes(own + from, body + from, field.position - from)) return false;
    if (!SameName(field, name, chunk, begin)) return false;
    name += field.size;
    from = field.position + kOffsetSize + (field.follows ? kLinkSize : 0);
  }
  return SameBytes(own + from, body + from, cached.body.size() - from);
}

// Tokens whose name stands right behind their first byte.
bool IsNamed(TokenKind kind) {
  return kind == TokenKind::kAttribute || kind == TokenKind::kEntityRef ||
         kind == TokenKind::kInstructionTarget;
}

// Whether a body that ends at `end` tells where the name behind a token does: a zero unit may
// follow it, and belongs to it.
bool HoldsEnd(const Token& token, std::uint32_t end) {
  const std::size_t name_end = token.name_offset + kNameHeadSize + token.name.units.size();
  return !token.name_follows || name_end + sizeof(std::uint16_t) <= end;
}

// The name fields of a body; false when some token keeps it from being compared.
bool CollectNames(Bytes chunk, std::uint32_t begin, std::uint32_t end, StoredTemplate& described) {
  std::vector<std::uint8_t>& bytes = described.name_bytes;
  Token token;
  for (std::uint32_t pos = FirstToken(chunk, begin, end); pos < end; pos = token.end) {
    if (!ReadToken(chunk, pos, end, {true, false}, token)) return false;
    if (token.kind == TokenKind::kTemplateInstance) return false;
    if (token.kind == TokenKind::kEndOfStream || token.kind == TokenKind::kUnknown) return true;
    const bool opens = token.kind == TokenKind::kOpenStart;
    if (!opens && !IsNamed(token.kind)) continue;
    if (!token.has_name) return false;
    if (!HoldsEnd(token, end)) return false;
    // Token, dependency identifier and size stand before the offset; of an attribute, the token.
    const std::uint32_t at = pos + (opens ? 7 : 1);
    const Bytes record = ComparedRecord(chunk, token.name_offset,
                                        kNameHeadSize - kLinkSize + token.name.units.size());
    if (bytes.size() + record.size() > kMaxNameBytes) return false;
    bytes.insert(bytes.end(), record.begin(), record.end());
    described.names.push_back(
        {at - begin, static_cast<std::uint32_t>(record.size()), token.name_follows});
  }
  return true;
}

std::size_t PlaceOf(const Guid& guid) {
  constexpr std::uint64_t kSpread = 0x9E3779B97F4A7C15U;
  const auto first = Load<std::uint64_t>(guid.data());
  return static_cast<std::size_t>(first * kSpread >> 40) % RecentlyFound::kPlaces;
}

void MarkKept(TemplateStore& store, Tree& tree) {
  tree.kept = true;
  tree.number = ++store.trees_kept;
}

const Variants* FindVariants(TemplateStore& store, const Guid& guid) {
  auto& recent = store.recent.templates[PlaceOf(guid)];
  if (recent && recent->first == guid) return &recent->second;
  const auto found = store.by_guid.find(guid);
  if (found == store.by_guid.end()) return nullptr;
  recent = &*found;
  return &found->second;
}

}  // namespace

const Tree* FindTemplate(TemplateStore& store, const Guid& guid, Bytes chunk, std::uint32_t begin,
                         std::uint32_t end) {
  const Variants* const variants = FindVariants(store, guid);
  if (!variants) return nullptr;
  for (const StoredTemplate& stored : *variants) {
    if (stored.body.size() == end - begin && IsAlike(stored, chunk, begin)) {
      return stored.tree.get();
    }
  }
  return nullptr;
}

bool DescribeTemplate(const Guid& guid, Bytes chunk, std::uint32_t begin, std::uint32_t end,
                      StoredTemplate& described) {
  if (!CollectNames(chunk, begin, end, described)) return false;
  const Bytes body = chunk.subspan(begin, end - begin);
  described.guid = guid;
  described.body.assign(body.begin(), body.end());
  return true;
}

void KeepTemplate(TemplateStore& store, StoredTemplate& stored) {
  if (store.bytes > kMaxStoreBytes) return;
  auto& variants = store.by_guid[stored.guid];
  if (variants.size() == kMaxVariants) return;
  store.bytes += 4 * stored.body.size() + sizeof(StoredTemplate);
  store.bytes += stored.names.size() * sizeof(NameField) + stored.name_bytes.size();
  MarkKept(store, *stored.tree);
  variants.push_back(std::move(stored));
}

void KeepKinds(TemplateStore& store, KindTable& kinds) {
  for (auto& [key, tree] : kinds) {
    if (store.bytes > kMaxStoreBytes) return;
    store.bytes += key.size() + sizeof(Tree) + tree->literals.size() + tree->name_text +
                   tree->nodes.size() * sizeof(Node);
    MarkKept(store, *tree);
    store.kinds.emplace(key, std::move(tree));
  }
}

void KeepPlans(TemplateStore& store, PlanTable& plans) {
  for (auto& [key, plan] : plans) {
    if (!key.own->kept || (key.nested && !key.nested->kept)) continue;
    if (plan) store.plan_room += RoomOf(*plan);
    store.plans.emplace(key, std::move(plan));
  }
}

std::size_t PlaceOf(const PlanKey& key, std::size_t places) {
  constexpr std::size_t kApart = 37;
  const std::size_t own = key.own ? key.own->number : 0;
  const std::size_t nested = key.nested ? key.nested->number : 0;
  return (own + kApart * nested) % places;
}

const std::unique_ptr<Plan>* FindKept(TemplateStore& store, const PlanKey& key) {
  RecentlyFound::PlanPlace& recent = store.recent.plans[PlaceOf(key, RecentlyFound::kPlaces)];
  if (recent.plan && recent.key == key) return recent.plan;
  const auto found = store.plans.find(key);
  if (found == store.plans.end()) return nullptr;
  recent = {key, &found->second};
  return recent.plan;
}

std::size_t RoomOf(const Plan& plan) {
  std::size_t room = plan.values.size() + plan.parts.size() + plan.document.items.size();
  for (const auto* const texts : {&plan.texts, &plan.document.texts}) {
    for (const std::string& text : *texts) room += 1 + text.size() / kTextPerRoom;
  }
  // Both are written into what forms keep of it.
  room += (plan.literal_text + plan.document.fixed_cost) / kTextPerRoom;
  return room;
}

bool HasRoomForPlan(const TemplateStore& store, std::size_t plans, std::size_t room) {
  return store.plans_made + plans < kMaxPlans && store.plan_room + room <= kMaxPlanRoom;
}

bool IsHalfFull(const TemplateStore& store) {
  return store.bytes > kMaxStoreBytes / 2 || store.plans_made > kMaxPlans / 2 ||
         store.plans.size() > kMaxPlans / 2 || store.plan_room > kMaxPlanRoom / 2;
}

}  // namespace tarnlex
