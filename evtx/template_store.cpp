#include "evtx/template_store.h"

#include <algorithm>
#include <cstring>

#include "evtx/binary_xml.h"
#include "evtx/evtx_format.h"

namespace tarnlex {
namespace {

constexpr std::size_t kMaxStoreBytes = std::size_t{8} << 20;
constexpr std::size_t kMaxPlans = 4096;
constexpr std::size_t kMaxPlanValues = std::size_t{1} << 18;  // of all plans
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

bool SameBytes(Bytes a, const std::uint8_t* b, std::size_t size) {
  return size == 0 || std::memcmp(a.data(), b, size) == 0;  // nothing may have no address
}

bool SameName(const NameField& field, Bytes chunk, std::uint32_t begin) {
  const std::uint32_t at = begin + field.position;
  const std::uint32_t offset = Load<std::uint32_t>(chunk.data() + at);
  if ((offset == at + kOffsetSize) != field.follows) return false;
  const Bytes record = ComparedRecord(chunk, offset, field.record.size());
  return !record.empty() && SameBytes(record, field.record.data(), record.size());
}

// Compares everything between the name fields, then the names.
bool IsAlike(const StoredTemplate& cached, Bytes chunk, std::uint32_t begin) {
  std::uint32_t from = 0;
  for (const NameField& field : cached.names) {
    const Bytes part = chunk.subspan(begin + from, field.position - from);
    if (!SameBytes(part, cached.body.data() + from, part.size())) return false;
    if (!SameName(field, chunk, begin)) return false;
    from = field.position + kOffsetSize + (field.follows ? kLinkSize : 0);
  }
  const Bytes rest = chunk.subspan(begin + from, cached.body.size() - from);
  return SameBytes(rest, cached.body.data() + from, rest.size());
}

// Tokens whose name stands right behind their first byte.
bool IsNamed(TokenKind kind) {
  return kind == TokenKind::kAttribute || kind == TokenKind::kEntityRef ||
         kind == TokenKind::kInstructionTarget;
}

// The name fields of a body; false when some token keeps it from being compared.
bool CollectNames(Bytes chunk, std::uint32_t begin, std::uint32_t end,
                  std::vector<NameField>& names) {
  std::size_t record_bytes = 0;
  Token token;
  for (std::uint32_t pos = FirstToken(chunk, begin, end); pos < end; pos = token.end) {
    if (!ReadToken(chunk, pos, end, {true, false}, token)) return false;
    if (token.kind == TokenKind::kTemplateInstance) return false;
    if (token.kind == TokenKind::kEndOfStream || token.kind == TokenKind::kUnknown) return true;
    const bool opens = token.kind == TokenKind::kOpenStart;
    if (!opens && !IsNamed(token.kind)) continue;
    if (!token.has_name) return false;
    // Token, dependency identifier and size stand before the offset; of an attribute, the token.
    const std::uint32_t at = pos + (opens ? 7 : 1);
    const Bytes record = ComparedRecord(chunk, token.name_offset,
                                        kNameHeadSize - kLinkSize + token.name.units.size());
    record_bytes += record.size();
    if (record_bytes > kMaxNameBytes) return false;
    names.push_back({at - begin, token.name_follows, {record.begin(), record.end()}});
  }
  return true;
}

}  // namespace

const Tree* FindTemplate(const TemplateStore& store, const Guid& guid, Bytes chunk,
                         std::uint32_t begin, std::uint32_t end) {
  const auto found = store.by_guid.find(guid);
  if (found == store.by_guid.end()) return nullptr;
  for (const StoredTemplate& stored : found->second) {
    if (stored.body.size() == end - begin && IsAlike(stored, chunk, begin)) {
      return stored.tree.get();
    }
  }
  return nullptr;
}

bool DescribeTemplate(const Guid& guid, Bytes chunk, std::uint32_t begin, std::uint32_t end,
                      StoredTemplate& described) {
  if (!CollectNames(chunk, begin, end, described.names)) return false;
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
  for (const NameField& name : stored.names) store.bytes += sizeof name + name.record.size();
  stored.tree->kept = true;
  variants.push_back(std::move(stored));
}

void KeepKinds(TemplateStore& store, KindTable& kinds) {
  for (auto& [key, tree] : kinds) {
    if (store.bytes > kMaxStoreBytes) return;
    store.bytes += key.size() + sizeof(Tree) + tree->literals.size() + tree->name_text +
                   tree->nodes.size() * sizeof(Node);
    tree->kept = true;
    store.kinds.emplace(key, std::move(tree));
  }
}

void KeepPlans(TemplateStore& store, PlanTable& plans) {
  for (auto& [key, plan] : plans) {
    if (!key.own->kept || (key.nested && !key.nested->kept)) continue;
    if (plan) store.plan_values += plan->values.size();
    store.plans.emplace(key, std::move(plan));
  }
}

bool HasRoomForPlan(const TemplateStore& store, std::size_t plans, std::size_t values) {
  return store.plans_made + plans < kMaxPlans && store.plan_values + values <= kMaxPlanValues;
}

bool IsHalfFull(const TemplateStore& store) {
  return store.bytes > kMaxStoreBytes / 2 || store.plans_made > kMaxPlans / 2 ||
         store.plans.size() > kMaxPlans / 2 || store.plan_values > kMaxPlanValues / 2;
}

}  // namespace tarnlex
