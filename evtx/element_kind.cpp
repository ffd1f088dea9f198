#include "evtx/element_kind.h"

#include <algorithm>
#include <bit>
#include <memory>
#include <string>
#include <utility>

#include "event/extent.h"
#include "evtx/binary_xml.h"
#include "evtx/compile.h"
#include "evtx/fragment.h"

namespace tarnlex {
namespace {

// No real event comes near; what is larger is compiled by itself.
constexpr std::size_t kMostKey = std::size_t{16} << 10;
constexpr std::uint32_t kMostTexts = 1024;
constexpr std::size_t kMostChunkKinds = std::size_t{1} << 20;  // bytes of those that a chunk makes

constexpr char kTextItself = 0x7F;  // in a key: a text that belongs to the kind

struct Reading {
  Bytes chunk;
  KindRoom& room;
  SlotList& slots;
  SubstitutionArray& texts;
  bool of_form = false;  // in an attribute whose text belongs to the kind
};

bool IsBlank(std::uint16_t unit) {
  return unit == ' ' || unit == '\t' || unit == '\r' || unit == '\n';
}

// Whether every event of the kind may have a text of its own here. Where there is none, or blanks,
// it is a matter of form.
bool IsOwnText(const Reading& run, Bytes text) {
  if (run.of_form) return false;
  for (std::size_t at = 0; at + 2 <= text.size(); at += 2) {
    if (!IsBlank(Load<std::uint16_t>(text.data() + at))) return true;
  }
  return false;
}

// Attributes whose texts say what others are: the name of a "Data", and what prefixes stand for.
bool IsOfForm(const Token& token) {
  constexpr std::string_view kName("N\0a\0m\0e\0", 8);
  constexpr std::string_view kNamespace("x\0m\0l\0n\0s\0", 10);
  const Bytes units = token.name.units;
  const std::string_view name(reinterpret_cast<const char*>(units.data()), units.size());
  return token.kind == TokenKind::kAttribute && (name == kName || name.starts_with(kNamespace));
}

void AddBytes(Reading& run, char kind, Bytes bytes) {
  std::string& key = run.room.key;
  const auto size = static_cast<std::uint32_t>(bytes.size());
  const char head[] = {kind, static_cast<char>(size), static_cast<char>(size >> 8),
                       static_cast<char>(size >> 16)};
  key.append(head, sizeof head);
  key.append(reinterpret_cast<const char*>(bytes.data()), bytes.size());
}

void AddText(Reading& run, const Token& token, std::uint32_t node) {
  if (!IsOwnText(run, token.text)) {
    AddBytes(run, kTextItself, token.text);
    return;
  }
  run.room.key += static_cast<char>(token.kind);
  run.room.nodes.push_back(node);
  const auto offset = static_cast<std::uint32_t>(token.text.data() - run.chunk.data());
  const auto size = static_cast<std::uint32_t>(token.text.size());
  *MoreSlots(run.slots, 1) = {offset, size, kEvtVarTypeString};
  ++run.slots.count;
  ++run.texts.count;
  run.texts.bytes += size;
}

// False for a token that no kind has.
bool AddToken(Reading& run, const Token& token, std::uint32_t node) {
  const char kind = static_cast<char>(token.kind);
  switch (token.kind) {
    case TokenKind::kOpenStart:
    case TokenKind::kAttribute:
      if (token.has_name) AddBytes(run, kind, token.name.units);
      run.of_form = IsOfForm(token);
      return token.has_name;
    case TokenKind::kValue: AddText(run, token, node); return true;
    case TokenKind::kCloseStart:
    case TokenKind::kCloseEmpty:
    case TokenKind::kEndElement:
    case TokenKind::kEndOfStream:
      run.room.key += kind;
      run.of_form = false;
      return true;
    default: return false;
  }
}

bool ReadKind(Reading& run, std::uint32_t begin, std::uint32_t end, StreamLayout layout) {
  Token token;
  std::uint32_t node = 0;
  for (std::uint32_t pos = FirstToken(run.chunk, begin, end); pos < end; pos = token.end) {
    if (!ReadToken(run.chunk, pos, end, layout, token)) return false;
    if (!AddToken(run, token, node++)) return false;
    if (run.room.key.size() > kMostKey || run.texts.count > kMostTexts) return false;
    if (token.kind == TokenKind::kEndOfStream) break;
  }
  return true;
}

// Makes slots of the texts that are the event's own, and keeps of the others what is used.
void TakeTextsOut(const KindRoom& room, Tree& tree) {
  std::uint32_t slot = 0;
  for (const std::uint32_t node : room.nodes) {
    tree.nodes[node] = {NodeKind::kSlot, false, slot++, 0, {}};
  }
  std::string literals;
  for (const Node& node : tree.nodes) {
    if (node.kind == NodeKind::kText) literals += node.text;
  }
  tree.literals = std::move(literals);
  tree.literals.shrink_to_fit();  // a tree that is kept takes what it needs
  std::size_t at = 0;
  for (Node& node : tree.nodes) {
    if (node.kind != NodeKind::kText) continue;
    node.text = std::string_view(tree.literals).substr(at, node.text.size());
    at += node.text.size();
  }
}

std::unique_ptr<Tree> MakeTree(const Reading& run, std::uint32_t begin, std::uint32_t end,
                               StreamLayout layout) {
  auto tree = std::make_unique<Tree>();
  CompileStream(run.chunk, begin, end, layout, nullptr, *tree);
  TakeTextsOut(run.room, *tree);
  tree->extent = ExtentOf(*tree, layout.policy);
  tree->keepable = true;
  return tree;
}

const Tree* FindKind(const KindTable& kinds, const std::string& key) {
  const auto found = kinds.find(key);
  return found == kinds.end() ? nullptr : found->second.get();
}

}  // namespace

const Tree* TreeOfKind(EvtxDecoder& decoder, DecodedEvent& event, std::uint32_t begin,
                       std::uint32_t end, SubstitutionArray& texts) {
  EvtxChunk& chunk = decoder.chunk;
  if (decoder.trace) return nullptr;  // which tells of every stream, token by token
  SlotList& slots = event.structure.slots;
  const std::size_t before = slots.count;
  texts = {};
  texts.first = static_cast<std::uint32_t>(before);
  event.kind_room.key.clear();
  event.kind_room.nodes.clear();
  Reading run{chunk.data, event.kind_room, slots, texts};
  const StreamLayout layout{false, false, decoder.policy};
  const std::string& key = event.kind_room.key;
  if (ReadKind(run, begin, end, layout)) {
    if (const Tree* known = FindKind(decoder.store.kinds, key)) return known;
    if (const Tree* known = FindKind(chunk.new_kinds, key)) return known;
    if (chunk.new_kind_bytes + key.size() <= kMostChunkKinds) {
      chunk.new_kind_bytes += key.size();
      return chunk.new_kinds.emplace(key, MakeTree(run, begin, end, layout)).first->second.get();
    }
  }
  slots.count = before;
  texts = {};
  return nullptr;
}

void FindNestedKind(EvtxDecoder& decoder, DecodedEvent& event) {
  if (!HoldsOneBinaryXml(event.array) || event.nested.usable) return;
  const auto slot = static_cast<std::uint32_t>(std::countr_zero(event.array.binary_xml));
  const SubstitutionValue value = event.structure.slots[event.array.first + slot];
  const std::uint32_t end = value.offset + value.size;
  std::uint32_t first = 0;
  if (LookAtFragment(decoder.chunk.data, value.offset, value.size, first) !=
      FragmentStart::kElement) {
    return;
  }
  event.nested.tree = TreeOfKind(decoder, event, first, end, event.nested.array);
  event.nested.usable = event.nested.tree != nullptr;
}

}  // namespace tarnlex
