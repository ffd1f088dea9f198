#include "evtx/event_identity.h"

#include <algorithm>
#include <cstring>
#include <string_view>
#include <utility>

#include "evtx/binary_xml.h"
#include "evtx/evtx_format.h"
#include "evtx/fragment.h"

namespace tarnlex {
namespace {

// What stands in front of each part of an event, so that no two events are written alike. No kind
// of token has one of these numbers, or where a stream ends would be for the next one to say.
enum class Part : std::uint8_t {
  kInstance = 0x80,
  kElements,
  kEnd,
  kRecord,      // identifier and time of the record
  kBytes,       // of a value that is no stream
  kUnreadable,  // a record by its place
  kUnvouched,   // what of it is proved
};

// What the records of a chunk may say together: something at first, and more with the bytes of
// each.
constexpr std::uint64_t kMostPerChunk = std::uint64_t{8} << 20;
constexpr std::uint64_t kFirstPerChunk = std::uint64_t{32} << 10;
constexpr std::uint64_t kPerByte = kMostPerChunk / kChunkSize;
constexpr std::u16string_view kIdName = u"EventRecordID";

struct Writing {
  IdentityRoom& room;
  Bytes chunk;
  Bytes whole;  // of the chunk
  bool vouched_for = true;
  StatedId id = {};     // of the record's own stream...
  bool has_id = false;  // ...and whether it holds one
};

void PutBytes(Writing& run, Bytes bytes) {
  run.room.written.insert(run.room.written.end(), bytes.begin(), bytes.end());
}

template <typename T>
void Put(Writing& run, T number) {
  std::uint8_t bytes[sizeof number];
  std::memcpy(bytes, &number, sizeof number);
  PutBytes(run, bytes);
}

void PutSized(Writing& run, Bytes bytes) {
  Put(run, static_cast<std::uint32_t>(bytes.size()));
  PutBytes(run, bytes);
}

void PutHash(Writing& run, const Hash128& hash) {
  Put(run, hash.low);
  Put(run, hash.high);
}

// Whether the event may say so much more.
bool Take(Writing& run, std::uint64_t bytes) {
  const bool enough = bytes <= run.room.bytes_left;
  run.room.bytes_left -= std::min(bytes, run.room.bytes_left);
  return enough;
}

bool IsIdName(Bytes units) {
  return units.size() == 2 * kIdName.size() &&
         std::memcmp(units.data(), kIdName.data(), units.size()) == 0;
}

// Watches for the element that holds the identifier.
struct IdWatch {
  bool in_element = false;
  bool in_content = false;
};

void Watch(IdWatch& watch, const Token& token, StatedId& id) {
  switch (token.kind) {
    case TokenKind::kOpenStart: watch = {IsIdName(token.name.units), false}; break;
    case TokenKind::kCloseStart: watch.in_content = watch.in_element; break;
    case TokenKind::kCloseEmpty:
    case TokenKind::kEndElement: watch = {}; break;
    case TokenKind::kValue: id.as_text |= watch.in_content && !token.text.empty(); break;
    case TokenKind::kNormalSubstitution:
    case TokenKind::kOptionalSubstitution:
      if (watch.in_content) id.slot = token.slot;
      break;
    default: break;
  }
}

// What a token says; false for one of which that cannot be told.
bool PutToken(Writing& run, const Token& token) {
  if (!Take(run, 16 + token.name.units.size() + token.text.size())) return false;
  Put(run, static_cast<std::uint8_t>(token.kind));
  switch (token.kind) {
    case TokenKind::kOpenStart:
    case TokenKind::kAttribute:
    case TokenKind::kEntityRef:
    case TokenKind::kInstructionTarget: PutSized(run, token.name.units); return token.has_name;
    case TokenKind::kValue:
    case TokenKind::kCData:
    case TokenKind::kInstructionData: PutSized(run, token.text); return true;
    case TokenKind::kCharacterRef:
    case TokenKind::kNormalSubstitution:
    case TokenKind::kOptionalSubstitution: Put(run, token.slot); return true;
    case TokenKind::kTemplateInstance:
    case TokenKind::kUnknown: return false;
    default: return true;
  }
}

// The tokens of a stream of elements, without where anything stands.
bool PutElements(Writing& run, std::uint32_t begin, std::uint32_t end, bool dependency_ids,
                 StatedId& id) {
  const StreamLayout layout{dependency_ids, false, Policy::kComplete};
  IdWatch watch;
  Token token;
  for (std::uint32_t pos = FirstToken(run.chunk, begin, end); pos < end; pos = token.end) {
    token = {};
    // What an instance inside of a stream says stands elsewhere.
    if ((run.chunk[pos] & 0x0F) == 0x0C) return false;
    if (!ReadToken(run.chunk, pos, end, layout, token) || !PutToken(run, token)) return false;
    if (token.kind == TokenKind::kEndOfStream) break;
    Watch(watch, token, id);
  }
  return true;
}

KnownDefinition ReadDefinition(Writing& run, std::uint32_t offset, const DefinitionHead& head) {
  const std::uint32_t begin = offset + kDefinitionHeadSize;
  if (!Fits(run.chunk, begin, head.size)) return {};
  // What is being written is put aside.
  std::vector<std::uint8_t> before;
  std::swap(before, run.room.written);
  KnownDefinition known;
  if (PutElements(run, begin, begin + head.size, true, known.id)) {
    known.hash = HashBytes(run.room.key, run.room.written);
  }
  std::swap(before, run.room.written);
  return known;
}

// The template of the instance whose token stands at `token`; null when nothing is known of it.
const KnownDefinition* FindDefinition(Writing& run, std::uint32_t token, std::uint32_t offset) {
  DefinitionHead head;
  if (!ReadDefinitionHead(run.chunk, offset, head) || !IsInstanceOf(run.chunk, token, head)) {
    return nullptr;
  }
  auto known = run.room.definitions.find(offset);
  if (known == run.room.definitions.end()) {
    known = run.room.definitions.emplace(offset, ReadDefinition(run, offset, head)).first;
  }
  return known->second.hash ? &known->second : nullptr;
}

bool PutDefinition(Writing& run, std::uint32_t token, std::uint32_t offset, int depth) {
  if (!run.vouched_for) return true;
  const KnownDefinition* const known = FindDefinition(run, token, offset);
  if (!known) return false;
  PutHash(run, *known->hash);
  if (depth == 0) run.id = known->id;
  return true;
}

bool PutBinaryXml(Writing& run, std::uint32_t begin, std::uint32_t end, int depth);

// Types and sizes. That of a stream depends on where its template stands, and says nothing.
void PutDescriptors(Writing& run, const SubstitutionArray& array) {
  std::vector<std::uint8_t>& written = run.room.written;
  std::size_t at = written.size();
  written.resize(at + sizeof(std::uint32_t) * array.count);
  for (std::uint32_t i = 0; i < array.count; ++i, at += sizeof(std::uint32_t)) {
    const SubstitutionValue& value = run.room.slots[array.first + i];
    const std::uint32_t size = value.type == kEvtVarTypeEvtBXml ? 0 : value.size;
    const std::uint32_t descriptor = std::uint32_t{value.type} << 24 | size;
    std::memcpy(written.data() + at, &descriptor, sizeof descriptor);
  }
}

// The values lie one behind the other; streams among them are read.
bool PutValues(Writing& run, const SubstitutionArray& array, int depth) {
  Put(run, array.count);
  PutDescriptors(run, array);
  std::uint32_t begin = array.end - array.bytes;
  for (std::uint32_t i = 0; i < array.count; ++i) {
    // Copied, as the values move when more are found.
    const SubstitutionValue value = run.room.slots[array.first + i];
    if (value.type != kEvtVarTypeEvtBXml) continue;
    PutBytes(run, run.chunk.subspan(begin, value.offset - begin));
    begin = value.offset + value.size;
    if (!PutBinaryXml(run, value.offset, begin, depth + 1)) return false;
  }
  PutBytes(run, run.chunk.subspan(begin, array.end - begin));
  return true;
}

bool StatesId(const Writing& run, const SubstitutionArray& array) {
  if (run.id.as_text) return true;
  if (!run.id.slot || *run.id.slot >= array.count) return false;
  return run.room.slots[array.first + *run.id.slot].size > 0;
}

// An instance whose values end at `limit` at the latest; `end` gets where they do.
bool PutInstance(Writing& run, std::uint32_t token, std::uint32_t limit, int depth,
                 std::uint32_t& end) {
  TemplateInstance instance;
  if (depth > kMaxNesting || run.room.bytes_left == 0 ||
      !LocateInstance(run.chunk, token, instance)) {
    return false;
  }
  SubstitutionArray array;
  const bool readable =
      ParseSubstitutionArray(run.chunk, instance.array, Policy::kComplete, run.room.slots, array);
  // What cannot be read has cost something too.
  const std::uint64_t cost = std::uint64_t{kDescriptorSize} * array.count + array.bytes;
  if (!Take(run, cost) || !readable || array.cut || array.end > limit) return false;
  end = array.end;
  Put(run, Part::kInstance);
  if (!PutDefinition(run, token, instance.definition, depth)) return false;
  if (depth == 0) run.has_id = StatesId(run, array);
  return PutValues(run, array, depth);
}

// A value that is stated to be binary XML and is none; a whole record cannot be.
bool PutOther(Writing& run, std::uint32_t begin, std::uint32_t end, int depth) {
  Put(run, Part::kBytes);
  PutSized(run, run.chunk.subspan(begin, end - begin));
  return depth > 0;
}

// Binary XML of a record or a value: instances, one behind the other, or elements.
bool PutBinaryXml(Writing& run, std::uint32_t begin, std::uint32_t end, int depth) {
  std::uint32_t token = 0;
  FragmentStart start = LookAtFragment(run.chunk, begin, end - begin, token);
  if (start == FragmentStart::kOther) return PutOther(run, begin, end, depth);
  bool more = begin < end;
  while (more && start == FragmentStart::kInstance) {
    std::uint32_t behind = 0;
    if (!PutInstance(run, token, end, depth, behind)) return false;
    // What follows that of a record fills it up, with whatever was there before.
    more = depth > 0 && MayFollowInstance(run.chunk, behind, end);
    if (more) start = LookBehindInstance(run.chunk, behind, end, token);
  }
  if (more && start != FragmentStart::kOther) {
    Put(run, Part::kElements);
    StatedId id;
    if (!PutElements(run, token, end, false, id)) return false;
    if (depth == 0) run.has_id |= id.as_text;
  }
  Put(run, Part::kEnd);
  return true;
}

void BeginChunk(IdentityRoom& room, const EvtxDecoder& decoder) {
  const EvtxChunk& chunk = decoder.chunk;
  const bool is_same = room.chunk_serial == chunk.serial;
  if (is_same && room.chunk_size == chunk.data.size()) return;
  room.chunk_size = chunk.data.size();
  room.definitions.clear();
  // Records that are cut each by themselves still are of one chunk.
  if (is_same) return;
  room.chunk_serial = chunk.serial;
  room.chunk.reset();
  room.bytes_left = kFirstPerChunk;
}

// The record's binary XML; false when it cannot be read to its end.
bool PutRecordXml(Writing& run, std::uint32_t at, std::uint32_t size) {
  std::uint32_t header = 0;
  if (size < kRecordHeaderSize + kFragmentHeaderSize + kRecordSizeCopy ||
      !Fits(run.chunk, at, size) || !ReadAt(run.chunk, at + kRecordHeaderSize, header) ||
      header != kFragmentHeader) {
    return false;
  }
  return PutBinaryXml(run, at + kRecordHeaderSize, at + size - kRecordSizeCopy, 0);
}

// What a record's own bytes say depends on its chunk in ways that cannot be told, unless no name is
// taken from there.
void PutPlace(Writing& run, std::uint32_t at, std::uint32_t size) {
  run.room.written.clear();
  run.has_id = false;
  if (!run.vouched_for) {
    Put(run, Part::kBytes);
    PutSized(run, Clip(run.chunk, at, size));
    return;
  }
  if (!run.room.chunk) run.room.chunk = HashBytes(run.room.key, run.whole);
  Put(run, Part::kUnreadable);
  PutHash(run, *run.room.chunk);
  Put(run, at);
  Put(run, size);
}

void PutRecordHead(Writing& run, const DecodedEvent& event) {
  Put(run, Part::kRecord);
  Put(run, event.record_id);
  Put(run, event.written_time);
}

}  // namespace

Hash128 IdentityOf(IdentityRoom& room, const EvtxDecoder& decoder, const DecodedEvent& event) {
  BeginChunk(room, decoder);
  room.written.clear();
  room.slots.count = 0;
  Writing run{room, decoder.chunk.data, decoder.chunk.whole,
              event.recovery.checked == Checked::kAll};
  const auto at = static_cast<std::uint32_t>(event.record_file_offset - event.chunk_file_offset);
  room.bytes_left = std::min(kMostPerChunk, room.bytes_left + kPerByte * event.share);
  if (!run.vouched_for) {
    Put(run, Part::kUnvouched);
    Put(run, event.recovery.checked);
  }
  if (!PutRecordXml(run, at, event.size)) PutPlace(run, at, event.size);
  if (!run.has_id) PutRecordHead(run, event);
  return HashBytes(room.key, room.written);
}

}  // namespace tarnlex
