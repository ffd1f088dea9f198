#include "evtx/element_kind.h"

#include <bit>
#include <cstring>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

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

constexpr char kTextItself = 0x7F;     // in a key: a text that belongs to the kind
constexpr std::size_t kEntryHead = 4;  // of what stands there with its bytes: kind and size

constexpr std::uint32_t kValueHeadSize = 4;  // of a token with a text: token, type and units

// Where a stream lies in its chunk.
struct StreamPlace {
  std::uint32_t begin = 0;
  std::uint32_t end = 0;
};

// A stream that is being read, token by token, into a key: of each token its kind, the name that it
// carries, and its text where that belongs to the kind.
struct Reading {
  Bytes chunk;
  Bytes bytes;           // of the chunk, up to the stream's end
  std::uint32_t at = 0;  // of the next token
  char* key = nullptr;   // where its entry goes, in the room's key
  char* key_end = nullptr;
  bool of_form = false;  // in an attribute whose text belongs to the kind
  bool ended = false;    // by an end token
};

bool IsBlank(std::uint16_t unit) {
  return unit == ' ' || unit == '\t' || unit == '\r' || unit == '\n';
}

// Whether every event of the kind may have a text of its own here. Where there is none, or blanks,
// it is a matter of form.
inline bool IsOwnText(Bytes text) {
  for (std::size_t at = 0; at + 2 <= text.size(); at += 2) {
    if (!IsBlank(Load<std::uint16_t>(text.data() + at))) return true;
  }
  return false;
}

// Attributes whose texts say what others are: the name of a "Data", and what prefixes stand for.
inline bool IsOfForm(Bytes name) {
  static constexpr char kName[] = "N\0a\0m\0e";          // and a zero
  static constexpr char kNamespace[] = "x\0m\0l\0n\0s";  // likewise
  if (name.size() == sizeof kName) return std::memcmp(name.data(), kName, sizeof kName) == 0;
  return name.size() >= sizeof kNamespace &&
         std::memcmp(name.data(), kNamespace, sizeof kNamespace) == 0;
}

// By blocks where so many bytes may be read.
inline void CopyPart(Bytes chunk, Bytes part, char* to) {
  const auto left = static_cast<std::size_t>(chunk.data() + chunk.size() - part.data());
  const std::string_view text(reinterpret_cast<const char*>(part.data()), part.size());
  if (left < part.size() + kCopyBlock) {
    CopyText(text, to);
  } else {
    CopyPadded(text, to);
  }
}

// False when there is no room for it.
inline bool AddBytes(Reading& run, char kind, Bytes bytes) {
  const auto size = static_cast<std::uint32_t>(bytes.size());
  if (static_cast<std::size_t>(run.key_end - run.key) < kEntryHead + size) return false;
  const std::uint32_t head = size << 8 | static_cast<std::uint8_t>(kind);
  std::memcpy(run.key, &head, kEntryHead);
  CopyPart(run.chunk, bytes, run.key + kEntryHead);
  run.key += kEntryHead + size;
  return true;
}

inline bool AddKind(Reading& run, TokenKind kind) {
  if (run.key == run.key_end) return false;
  *run.key++ = static_cast<char>(kind);
  return true;
}

inline bool ReadUnits(Bytes chunk, std::uint32_t name, Bytes& units) {
  if (!Fits(chunk, name, kNameHeadSize)) return false;
  const std::uint32_t begin = name + kNameHeadSize;
  const std::uint32_t size = 2U * Load<std::uint16_t>(chunk.data() + begin - 2);
  if (!Fits(chunk, begin, size)) return false;
  units = chunk.subspan(begin, size);
  return true;
}

// Where a token ends whose name stands right behind it, as it does once in a chunk; zero for one
// that does not fit.
[[gnu::noinline]] std::uint32_t EndOfNamed(Bytes chunk, std::uint32_t at, std::size_t end) {
  constexpr StreamLayout kLayout{false, false, Policy::kLiteral};
  Token token;
  const bool fits = ReadToken(chunk, at, static_cast<std::uint32_t>(end), kLayout, token);
  return fits ? token.end : 0;
}

// A token of `size` bytes, in which the place of its name stands at `field`.
inline bool TakeNamed(Reading& run, TokenKind kind, std::uint32_t field, std::uint32_t size) {
  if (!Fits(run.bytes, run.at, size)) return false;
  const auto name = Load<std::uint32_t>(run.bytes.data() + run.at + field);
  const bool follows = name == run.at + field + sizeof name;
  run.at = follows ? EndOfNamed(run.chunk, run.at, run.bytes.size()) : run.at + size;
  Bytes units;
  if (run.at == 0 || !ReadUnits(run.chunk, name, units)) return false;
  run.of_form = kind == TokenKind::kAttribute && IsOfForm(units);
  return AddBytes(run, static_cast<char>(kind), units);
}

// What a stream's own texts are put into.
struct OwnTexts {
  SlotList& slots;
  SubstitutionArray& array;
  std::vector<std::uint32_t>& nodes;
};

bool AddSlot(const OwnTexts& texts, std::uint32_t offset, std::uint32_t size, std::uint32_t node) {
  texts.nodes.push_back(node);
  *MoreSlots(texts.slots, 1) = {offset, size, kEvtVarTypeString};
  ++texts.slots.count;
  texts.array.bytes += size;
  return ++texts.array.count <= kMostTexts;
}

inline bool TakeText(Reading& run, const OwnTexts& texts, std::uint32_t node) {
  if (!Fits(run.bytes, run.at, kValueHeadSize)) return false;
  const std::uint32_t offset = run.at + kValueHeadSize;
  const std::uint32_t size = 2U * Load<std::uint16_t>(run.bytes.data() + offset - 2);
  if (!Fits(run.bytes, offset, size)) return false;
  run.at = offset + size;
  const Bytes text = run.bytes.subspan(offset, size);
  if (run.of_form || !IsOwnText(text)) return AddBytes(run, kTextItself, text);
  return AddKind(run, TokenKind::kValue) && AddSlot(texts, offset, size, node);
}

// False for a token that no kind has.
inline bool TakeToken(Reading& run, const OwnTexts& texts, std::uint32_t node) {
  const std::uint8_t byte = run.bytes[run.at];
  const auto kind = static_cast<TokenKind>(byte & 0x0F);
  switch (kind) {
    case TokenKind::kOpenStart: return TakeNamed(run, kind, 5, (byte & kMoreBit) != 0 ? 13 : 9);
    case TokenKind::kAttribute: return TakeNamed(run, kind, 1, 5);
    case TokenKind::kValue: return TakeText(run, texts, node);
    case TokenKind::kEndOfStream: run.ended = true; [[fallthrough]];
    case TokenKind::kCloseStart:
    case TokenKind::kCloseEmpty:
    case TokenKind::kEndElement:
      run.of_form = false;
      ++run.at;
      return AddKind(run, kind);
    default: return false;
  }
}

bool ReadKind(Bytes chunk, const StreamPlace& place, const OwnTexts& texts, std::string& room,
              std::string_view& key) {
  room.resize(kMostKey + kCopyBlock);
  Reading run{chunk, Clip(chunk, 0, place.end), FirstToken(chunk, place.begin, place.end),
              room.data(), room.data() + kMostKey};
  for (std::uint32_t node = 0; run.at < place.end && !run.ended; ++node) {
    if (run.at >= run.bytes.size() || !TakeToken(run, texts, node)) return false;
  }
  key = {room.data(), static_cast<std::size_t>(run.key - room.data())};
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

std::unique_ptr<Tree> MakeTree(Bytes chunk, const StreamPlace& place, Policy policy,
                               const KindRoom& room) {
  auto tree = std::make_unique<Tree>();
  CompileStream(chunk, place.begin, place.end, {false, false, policy}, nullptr, *tree);
  TakeTextsOut(room, *tree);
  tree->extent = ExtentOf(*tree, policy);
  tree->keepable = true;
  return tree;
}

const Tree* FindKind(const KindTable& kinds, std::string_view key) {
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
  KindRoom& room = event.kind_room;
  room.nodes.clear();
  const StreamPlace place{begin, end};
  std::string_view key;
  if (ReadKind(chunk.data, place, {slots, texts, room.nodes}, room.key, key)) {
    if (const Tree* known = FindKind(decoder.store.kinds, key)) return known;
    if (const Tree* known = FindKind(chunk.new_kinds, key)) return known;
    if (chunk.new_kind_bytes + key.size() <= kMostChunkKinds) {
      chunk.new_kind_bytes += key.size();
      auto tree = MakeTree(chunk.data, place, decoder.policy, room);
      return chunk.new_kinds.emplace(key, std::move(tree)).first->second.get();
    }
  }
  slots.count = before;
  texts = {};
  return nullptr;
}

void FindNestedKind(EvtxDecoder& decoder, DecodedEvent& event) {
  if (!HoldsOneBinaryXml(event.array) || event.nested.usable) return;
  if (event.recovery.checked != Checked::kAll) return;  // nothing vouches for its names
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
