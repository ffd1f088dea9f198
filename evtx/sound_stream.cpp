#include "evtx/sound_stream.h"

#include <algorithm>
#include <string>
#include <string_view>
#include <utility>

#include "event/names.h"
#include "evtx/binary_xml.h"
#include "evtx/evtx_format.h"
#include "evtx/name_hash.h"
#include "logs/sound_text.h"
#include "logs/text.h"

namespace tarnlex {
namespace {

constexpr std::uint32_t kUnitsPerToken = 16;

// A name and the element that it stands in.
struct PlacedName {
  std::string_view parent;
  std::string_view name;
};

// What every event has: names that a chunk mostly takes from its first record.
constexpr PlacedName kNamesOfAll[] = {
    {"", "Event"},
    {"Event", "xmlns"},
    {"Event", "System"},
    {"System", "Provider"},
    {"Provider", "Name"},
    {"Provider", "Guid"},
    {"Provider", "EventSourceName"},
    {"System", "EventID"},
    {"EventID", "Qualifiers"},
    {"System", "Version"},
    {"System", "Level"},
    {"System", "Task"},
    {"System", "Opcode"},
    {"System", "Keywords"},
    {"System", "TimeCreated"},
    {"TimeCreated", "SystemTime"},
    {"System", "EventRecordID"},
    {"System", "Correlation"},
    {"Correlation", "ActivityID"},
    {"Correlation", "RelatedActivityID"},
    {"System", "Execution"},
    {"Execution", "ProcessID"},
    {"Execution", "ThreadID"},
    {"System", "Channel"},
    {"System", "Computer"},
    {"System", "Security"},
    {"Security", "UserID"},
    {"Event", "EventData"},
    {"Event", "UserData"},
    {"", "EventData"},
    {"", "UserData"},
    {"EventData", "Data"},
    {"EventData", "Binary"},
    {"Data", "Name"},
};

bool IsOfAllEvents(std::string_view parent, std::string_view name) {
  return std::any_of(std::begin(kNamesOfAll), std::end(kNamesOfAll), [&](const PlacedName& placed) {
    return placed.parent == parent && placed.name == name;
  });
}

// Letters that bytes of anything else hardly ever look like.
bool IsSoundLiteral(Bytes units) {
  constexpr std::uint16_t kBehindAlphabets = 0x700;
  if (!IsSoundText(units)) return false;
  for (std::size_t at = 0; at + 2 <= units.size(); at += 2) {
    if (Load<std::uint16_t>(units.data() + at) >= kBehindAlphabets) return false;
  }
  return true;
}

bool Take(SoundChecks& checks, std::uint32_t work) {
  const bool enough = work <= checks.work_left;
  checks.work_left -= std::min(work, checks.work_left);
  return enough;
}

// A stream while it is read.
struct Reading {
  SoundChecks& checks;
  std::size_t stretch = 0;    // that it stands in
  bool holds_values = false;  // it belongs to no definition: its texts are those of one event
  std::vector<std::string> open = {};
  bool in_start_tag = false;
  std::vector<SlotUse> slots = {};
};

std::string_view Innermost(const Reading& run) {
  return run.open.empty() ? std::string_view() : std::string_view(run.open.back());
}

// The text of a token's name; false when nothing proves it.
bool ProvedName(Reading& run, const Token& token, std::string& text) {
  const NameRecord& name = token.name;
  if (!token.has_name || !name.terminated || name.count == 0) return false;
  if (!Take(run.checks, name.count / kUnitsPerToken)) return false;
  if (NameHash(name.units) != name.hash || !IsSoundLiteral(name.units)) return false;
  text = Utf16ToUtf8(name.units);
  return IsXmlName(text) && (StretchOf(run.checks.stretches, token.name_offset) == run.stretch ||
                             IsOfAllEvents(Innermost(run), text));
}

bool OpenElement(Reading& run, const Token& token) {
  std::string name;
  if (!ProvedName(run, token, name)) return false;
  run.open.push_back(std::move(name));
  run.in_start_tag = true;
  return true;
}

bool EndElement(Reading& run) {
  run.in_start_tag = false;
  if (run.open.empty()) return false;
  run.open.pop_back();
  return true;
}

bool HasProvedName(Reading& run, const Token& token) {
  std::string name;
  return ProvedName(run, token, name);
}

// Takes a token that does not end the stream; false when it cannot stand there.
bool TakeToken(Reading& run, const Token& token) {
  switch (token.kind) {
    case TokenKind::kOpenStart: return OpenElement(run, token);
    case TokenKind::kCloseStart: return std::exchange(run.in_start_tag, false);
    case TokenKind::kCloseEmpty:
    case TokenKind::kEndElement: return EndElement(run);
    case TokenKind::kAttribute: return run.in_start_tag && HasProvedName(run, token);
    case TokenKind::kEntityRef:
    case TokenKind::kInstructionTarget: return HasProvedName(run, token);
    case TokenKind::kValue:
      return token.type == kEvtVarTypeString &&
             (run.holds_values ? IsSoundText(token.text) : IsSoundLiteral(token.text));
    case TokenKind::kCData:
    case TokenKind::kInstructionData: return IsSoundText(token.text);
    case TokenKind::kCharacterRef: return true;
    case TokenKind::kNormalSubstitution:
    case TokenKind::kOptionalSubstitution:
      run.slots.push_back({token.slot, token.type});
      return true;
    case TokenKind::kEndOfStream:
    case TokenKind::kTemplateInstance:
    case TokenKind::kUnknown: return false;
  }
  return false;
}

// Reads a stream to its end; false when it is not sound up to there.
bool ReadSoundStream(Reading& run, std::uint32_t begin, std::uint32_t end, StreamLayout layout) {
  Token token;
  std::uint32_t pos = FirstToken(run.checks.chunk, begin, end);
  for (; pos < end; pos = token.end) {
    if (!Take(run.checks, 1) || !ReadToken(run.checks.chunk, pos, end, layout, token)) return false;
    if (token.kind == TokenKind::kEndOfStream) break;
    if (!TakeToken(run, token)) return false;
  }
  return run.open.empty() && end - std::min(pos, end) <= kMostBehindStream && begin < pos;
}

SoundDefinition CheckDefinition(SoundChecks& checks, std::uint32_t definition, std::uint32_t size) {
  SoundDefinition found;
  if (!Fits(checks.chunk, std::uint64_t{definition} + kDefinitionHeadSize, size)) return found;
  const std::uint32_t begin = definition + kDefinitionHeadSize;
  Reading run{checks, StretchOf(checks.stretches, definition)};
  found.sound = ReadSoundStream(run, begin, begin + size, {true, false, Policy::kComplete});
  found.slots = std::move(run.slots);
  return found;
}

bool IsWholeNumber(std::uint8_t type) {
  return (type >= kEvtVarTypeSByte && type <= kEvtVarTypeUInt64) || type == kEvtVarTypeSizeT ||
         type == kEvtVarTypeHexInt32 || type == kEvtVarTypeHexInt64;
}

// Sizes are written as the numbers of the system's width, and some providers write other widths
// than they state.
bool IsOfType(std::uint8_t type, std::uint8_t stated) {
  return type == stated || (IsWholeNumber(type) && IsWholeNumber(stated));
}

// A value that is missing is of no type; what else a definition states, its values have.
bool HasStatedTypes(const SoundDefinition& definition, const SlotList& slots,
                    const SubstitutionArray& array) {
  return std::all_of(definition.slots.begin(), definition.slots.end(), [&](const SlotUse& use) {
    if (use.slot >= array.count) return false;
    const std::uint8_t type = slots[array.first + use.slot].type;
    return type == kEvtVarTypeNull || use.type == kEvtVarTypeNull || IsOfType(type, use.type);
  });
}

}  // namespace

std::size_t StretchOf(const Stretches& stretches, std::uint32_t offset) {
  const auto& ends = stretches.ends;
  return static_cast<std::size_t>(std::upper_bound(ends.begin(), ends.end(), offset) -
                                  ends.begin());
}

bool IsSoundInstance(SoundChecks& checks, std::uint32_t token, const SlotList& slots,
                     const SubstitutionArray& array) {
  TemplateInstance instance;
  DefinitionHead head;
  if (!LocateInstance(checks.chunk, token, instance) ||
      !ReadDefinitionHead(checks.chunk, instance.definition, head) ||
      !IsInstanceOf(checks.chunk, token, head)) {
    return false;
  }
  auto known = checks.definitions.find(instance.definition);
  if (known == checks.definitions.end()) {
    SoundDefinition checked = CheckDefinition(checks, instance.definition, head.size);
    known = checks.definitions.emplace(instance.definition, std::move(checked)).first;
  }
  if (!known->second.sound || !Take(checks, static_cast<std::uint32_t>(known->second.slots.size())))
    return false;
  return HasStatedTypes(known->second, slots, array);
}

bool IsSoundFragment(SoundChecks& checks, std::uint32_t begin, std::uint32_t end) {
  Reading run{checks, StretchOf(checks.stretches, begin), true};
  return ReadSoundStream(run, begin, end, {false, false, Policy::kComplete}) && run.slots.empty();
}

}  // namespace tarnlex
