#include "evtx/template_cache.h"

#include <algorithm>
#include <cstring>

#include "evtx/binary_xml.h"
#include "evtx/evtx_format.h"

namespace tarnlex {
namespace {

constexpr std::size_t kMaxCacheBytes = std::size_t{8} << 20;
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
bool IsAlike(const CachedTemplate& cached, Bytes chunk, std::uint32_t begin) {
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

// The name fields of a body; false when some token keeps it from being compared.
bool CollectNames(Bytes chunk, std::uint32_t begin, std::uint32_t end,
                  std::vector<NameField>& names) {
  std::size_t record_bytes = 0;
  Token token;
  for (std::uint32_t pos = FirstToken(chunk, begin, end); pos < end; pos = token.end) {
    if (!ReadToken(chunk, pos, end, {true, false}, token)) return false;
    if (token.kind == TokenKind::kTemplateInstance) return false;
    if (token.kind == TokenKind::kEndOfStream || token.kind == TokenKind::kStopping) return true;
    const bool opens = token.kind == TokenKind::kOpenStart;
    if (!opens && token.kind != TokenKind::kAttribute) continue;
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

const TemplateProgram* FindCached(const TemplateCache& cache,
                                  const std::array<std::uint8_t, 16>& guid, Bytes chunk,
                                  std::uint32_t begin, std::uint32_t end) {
  const auto found = cache.by_guid.find(guid);
  if (found == cache.by_guid.end()) return nullptr;
  for (const auto& cached : found->second) {
    if (cached->body.size() == end - begin && IsAlike(*cached, chunk, begin)) {
      return &cached->program;
    }
  }
  return nullptr;
}

const TemplateProgram* KeepInCache(TemplateCache& cache, const std::array<std::uint8_t, 16>& guid,
                                   Bytes chunk, std::uint32_t begin, std::uint32_t end,
                                   TemplateProgram& program) {
  std::vector<NameField> names;
  if (cache.bytes > kMaxCacheBytes || !CollectNames(chunk, begin, end, names)) return nullptr;
  auto& variants = cache.by_guid[guid];
  if (variants.size() == kMaxVariants) return nullptr;
  const Bytes body = chunk.subspan(begin, end - begin);
  cache.bytes += 4 * body.size() + sizeof(CachedTemplate);
  for (const NameField& name : names) cache.bytes += sizeof name + name.record.size();
  variants.push_back(std::make_unique<CachedTemplate>());
  CachedTemplate& cached = *variants.back();
  cached.body.assign(body.begin(), body.end());
  cached.names = std::move(names);
  cached.program = std::move(program);
  cached.program.cached = true;
  return &cached.program;
}

bool IsHalfFull(const TemplateCache& cache) { return cache.bytes > kMaxCacheBytes / 2; }

void ClearCache(TemplateCache& cache) {
  cache.by_guid.clear();
  cache.bytes = 0;
}

}  // namespace tarnlex
