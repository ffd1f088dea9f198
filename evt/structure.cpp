#include "evt/structure.h"

#include <algorithm>
#include <cstring>
#include <functional>
#include <string_view>

#include "event/extent.h"
#include "event/value.h"
#include "evt/evt_format.h"
#include "logs/plain_ascii.h"
#include "logs/text.h"

namespace tarnlex {
namespace {

constexpr std::string_view kEventNamespace =
    "http://schemas.microsoft.com/win/2004/08/events/event";

// What a record does not say in so many bytes comes first.
constexpr std::uint32_t kTimeAt = 0;
constexpr std::uint32_t kKeywordsAt = 8;
constexpr std::uint32_t kLevelAt = 16;
constexpr std::uint32_t kOwnBytes = 24;

// Texts are read in blocks, which may end behind them.
constexpr std::size_t kReadableBehindTexts = 32;

// More of a record is not copied as a whole; real ones stay far below.
constexpr std::uint64_t kLargestCopy = std::uint64_t{1} << 20;

constexpr std::uint16_t kAuditSuccess = 8;
constexpr std::uint16_t kAuditFailure = 16;

// Audits have no level, and what they are is a keyword. Types that are not known stand as they are.
std::uint16_t LevelOf(std::uint16_t event_type) {
  if (event_type == 1 || event_type == 2) return static_cast<std::uint16_t>(event_type + 1);
  const bool is_audit = event_type == kAuditSuccess || event_type == kAuditFailure;
  return is_audit ? 0 : event_type;
}

std::uint64_t KeywordsOf(std::uint16_t event_type) {
  constexpr std::uint64_t kClassic = std::uint64_t{1} << 55;
  const std::uint64_t audits = (event_type == kAuditSuccess ? std::uint64_t{1} << 53 : 0) |
                               (event_type == kAuditFailure ? std::uint64_t{1} << 52 : 0);
  return kClassic | audits;
}

// Takes over the record's bytes as they lie in memory, which gives most values their place at once.
Bytes CopyRecord(EvtRecord& record) {
  const EvtLog& log = record.log;
  const auto size = std::clamp<std::uint64_t>(record.length, kEvtFixedSize, kLargestCopy);
  const Bytes copied = Clip(log.part, record.offset - log.begin, size);
  record.event_bytes.resize(kOwnBytes + copied.size() + kReadableBehindTexts);
  std::uint8_t* const to = record.event_bytes.data();
  const std::uint64_t keywords = KeywordsOf(record.event_type);
  const std::uint16_t level = LevelOf(record.event_type);
  std::memcpy(to + kTimeAt, &record.filetime, sizeof record.filetime);
  std::memcpy(to + kKeywordsAt, &keywords, sizeof keywords);
  std::memcpy(to + kLevelAt, &level, sizeof level);
  std::memcpy(to + kOwnBytes, copied.data(), copied.size());
  return copied;
}

// Where a record's parts come to lie.
struct Placing {
  std::vector<std::uint8_t>& bytes;
  Bytes copied;  // the part of the log that was taken over
};

[[gnu::noinline]] std::uint32_t PutBehind(std::vector<std::uint8_t>& bytes, Bytes part) {
  const auto place = static_cast<std::uint32_t>(bytes.size());
  bytes.insert(bytes.end(), part.begin(), part.end());
  return place;
}

// What was not taken over with the record is put behind it.
inline SubstitutionValue Place(const Placing& placing, Bytes part, EvtVarType type) {
  const std::uint8_t* const begin = placing.copied.data();
  const std::less_equal<const std::uint8_t*> reaches;
  const bool taken = reaches(begin, part.data()) &&
                     reaches(part.data() + part.size(), begin + placing.copied.size());
  return {taken ? kOwnBytes + static_cast<std::uint32_t>(part.data() - begin)
                : PutBehind(placing.bytes, part),
          static_cast<std::uint32_t>(part.size()), type};
}

SubstitutionValue PlaceUnlessEmpty(const Placing& placing, Bytes part, EvtVarType type) {
  return part.empty() ? SubstitutionValue{} : Place(placing, part, type);
}

// The fixed part is always taken over.
void FillNumbers(const EvtRecord& record, SubstitutionValue* slots) {
  slots[kEvtRecordNumber] = {kOwnBytes + 8, 4, kEvtVarTypeUInt32};
  slots[kEvtEventId] = {kOwnBytes + 20, 2, kEvtVarTypeUInt16};
  slots[kEvtQualifiers] = {kOwnBytes + 22, 2, kEvtVarTypeUInt16};
  slots[kEvtEventType] = {kOwnBytes + 24, 2, kEvtVarTypeUInt16};
  slots[kEvtTask] = {kOwnBytes + 28, 2, kEvtVarTypeUInt16};
  slots[kEvtLevel] = {kLevelAt, 2, kEvtVarTypeUInt16};
  slots[kEvtKeywords] = {kKeywordsAt, 8, kEvtVarTypeHexInt64};
  slots[kEvtTimeCreated] = {kTimeAt, 8, kEvtVarTypeFileTime};
  if (record.filetime == 0) slots[kEvtTimeCreated] = {};
}

void FillSlots(EvtRecord& record) {
  CutTexts(record);
  EventStructure& event = record.structure;
  const Placing placing{record.event_bytes, CopyRecord(record)};
  const std::size_t strings = record.strings.size();
  event.slots.count = 0;
  SubstitutionValue* const slots = MoreSlots(event.slots, kEvtFirstString + strings + 1);
  event.slots.count = kEvtFirstString + strings + 1;
  FillNumbers(record, slots);
  slots[kEvtSourceName] = Place(placing, record.source_name, kEvtVarTypeString);
  slots[kEvtComputerName] = Place(placing, record.computer_name, kEvtVarTypeString);
  slots[kEvtUserSid] = PlaceUnlessEmpty(placing, record.sid, kEvtVarTypeSid);
  std::size_t text = record.source_name.size() + record.computer_name.size();
  for (std::size_t i = 0; i < strings; ++i) {
    slots[kEvtFirstString + i] = Place(placing, record.strings[i], kEvtVarTypeString);
    text += record.strings[i].size();
  }
  slots[kEvtFirstString + strings] = PlaceUnlessEmpty(placing, record.data, kEvtVarTypeBinary);
  record.max_text = text / 2 * kMaxUtf8PerUnit + (strings + 2) * kPlainAsciiBlock;
  event.bytes = record.event_bytes;
}

void Add(Tree& tree, NodeKind kind, std::string_view text = {}) {
  tree.nodes.push_back({kind, false, 0, 0, text});
}

void AddSlot(Tree& tree, std::uint32_t slot, bool optional = false) {
  tree.nodes.push_back({NodeKind::kSlot, optional, slot, 0, {}});
}

void Open(Tree& tree, std::string_view name) {
  Add(tree, NodeKind::kElement, name);
  Add(tree, NodeKind::kStartEnd);
}

void AddElement(Tree& tree, std::string_view name, std::uint32_t slot) {
  Open(tree, name);
  AddSlot(tree, slot);
  Add(tree, NodeKind::kElementEnd);
}

void AddAttribute(Tree& tree, std::string_view element, std::string_view name, std::uint32_t slot,
                  bool optional) {
  Add(tree, NodeKind::kElement, element);
  Add(tree, NodeKind::kAttribute, name);
  AddSlot(tree, slot, optional);
}

void AddSystem(Tree& tree) {
  Open(tree, "System");
  AddAttribute(tree, "Provider", "Name", kEvtSourceName, false);
  Add(tree, NodeKind::kElementEnd);
  AddAttribute(tree, "EventID", "Qualifiers", kEvtQualifiers, false);
  Add(tree, NodeKind::kStartEnd);
  AddSlot(tree, kEvtEventId);
  Add(tree, NodeKind::kElementEnd);
  AddElement(tree, "Level", kEvtLevel);
  AddElement(tree, "Task", kEvtTask);
  AddElement(tree, "Keywords", kEvtKeywords);
  AddAttribute(tree, "TimeCreated", "SystemTime", kEvtTimeCreated, true);
  Add(tree, NodeKind::kElementEnd);
  AddElement(tree, "EventRecordID", kEvtRecordNumber);
  AddElement(tree, "Computer", kEvtComputerName);
  AddAttribute(tree, "Security", "UserID", kEvtUserSid, true);
  Add(tree, NodeKind::kElementEnd);
  Add(tree, NodeKind::kElementEnd);
}

void MakeTree(Tree& tree, std::uint32_t strings, bool has_data, Policy policy) {
  Add(tree, NodeKind::kElement, "Event");
  Add(tree, NodeKind::kAttribute, "xmlns");
  Add(tree, NodeKind::kText, kEventNamespace);
  Add(tree, NodeKind::kStartEnd);
  AddSystem(tree);
  Open(tree, "EventData");
  for (std::uint32_t i = 0; i < strings; ++i) AddElement(tree, "Data", kEvtFirstString + i);
  if (has_data) AddElement(tree, "Binary", kEvtFirstString + strings);
  Add(tree, NodeKind::kElementEnd);
  Add(tree, NodeKind::kElementEnd);
  Add(tree, NodeKind::kStreamEnd);
  tree.extent = ExtentOf(tree, policy);
}

const Tree& TreeOf(EvtRecord& record) {
  const auto strings = static_cast<std::uint32_t>(record.strings.size());
  const bool has_data = !record.data.empty();
  const std::uint32_t key = 2 * strings + (has_data ? 1 : 0);
  return KeptOrMade(record.trees, key, strings, [&](Tree& tree, bool) {
    MakeTree(tree, strings, has_data, record.structure.policy);
  });
}

}  // namespace

const EventStructure& EvtSlotsOf(EvtRecord& record) {
  if (!record.slots_filled) FillSlots(record);
  record.slots_filled = true;
  return record.structure;
}

const EventStructure& EvtStructureOf(EvtRecord& record) {
  EvtSlotsOf(record);
  const Tree& tree = TreeOf(record);
  Stream stream;
  stream.tree = &tree;
  stream.nodes = static_cast<std::uint32_t>(tree.nodes.size());
  stream.slot_count = static_cast<std::uint32_t>(record.structure.slots.count);
  record.structure.streams.assign(1, stream);
  return record.structure;
}

}  // namespace tarnlex
