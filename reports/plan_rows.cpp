#include "reports/plan_rows.h"

#include <algorithm>
#include <cstring>
#include <limits>

#include "event/slot_text.h"
#include "event/value.h"
#include "logs/plain_ascii.h"
#include "logs/text.h"

namespace tarnlex {
namespace {

std::uint32_t SizeOf(const char* begin, const char* end) {
  return static_cast<std::uint32_t>(end - begin);
}

// Mostly a few short cells, so that one block is all there is to copy.
char* CopyFixed(const char* from, std::size_t size, char* at) {
  std::memcpy(at, from, kCellBlock);
  if (size > kCellBlock) std::memcpy(at + kCellBlock, from + kCellBlock, size - kCellBlock);
  return at + size;
}

// What the text of a "Level" value means to a row.
std::uint32_t LevelOf(std::string_view text) {
  constexpr std::uint64_t kMax = std::numeric_limits<std::uint32_t>::max();
  return static_cast<std::uint32_t>(std::min(LeadingNumber(text), kMax));
}

// Mostly the same text as that of the row before.
std::string_view KeepProvider(EventRows& rows, std::string_view text, std::string_view& last) {
  if (text != last) last = InternText(rows, text);
  return last;
}

bool IsLiteral(const Plan& plan, const PlanValue* value) {
  if (!value) return true;
  const auto begin = plan.parts.begin() + value->first_part;
  return std::all_of(begin, begin + value->part_count,
                     [](const PlanPart& part) { return part.literal != nullptr; });
}

std::size_t LiteralSize(const Plan& plan, const PlanValue* value) {
  std::size_t size = 0;
  for (std::uint32_t i = 0; value && i < value->part_count; ++i) {
    size += plan.parts[value->first_part + i].size;
  }
  return size;
}

PlanCell MakeCell(const Plan& plan, const PlanValue* value) {
  PlanCell cell;
  cell.value = value;
  if (!value || value->part_count != 1) return cell;
  const PlanPart& part = plan.parts[value->first_part];
  cell.is_slot = part.literal == nullptr;
  cell.slot = part.slot;
  cell.optional = part.optional;
  return cell;
}

// Where finished cells are made: a row that is never ended lends its place to them.
struct FinishedCells {
  RowBuilder builder;
  char* at = nullptr;
  std::uint32_t begin = 0;  // of those that no cell has been given yet
};

void FinishCell(EventRows& rows, const Plan& plan, const PlanValue* value, const PlanCell& cell,
                FinishedCells& finished, PlanLayout& layout) {
  static const EventStructure kNoSlots;
  char* const text = BeginCell(finished.builder, finished.at);
  char* const end = value ? WriteText(kNoSlots, plan, *value, text) : text;
  if (cell.is_provider) layout.provider = InternText(rows, {text, end});
  if (cell.is_level) layout.level = LevelOf({text, end});
  finished.at = EndCell(finished.builder, end);
}

std::size_t MaxRowBytes(const PlannedEvent& event, const PlanLayout& layout) {
  constexpr std::size_t kOverhead = kMaxCellOverhead + kUnresolved.size();
  return event.max_text + layout.fixed.size() + layout.cells.size() * kOverhead;
}

char* WriteParts(const EventStructure& event, const Plan& plan, const PlanCell& cell,
                 std::string_view unresolved, char* text) {
  if (!cell.value) return text;
  if (IsUnresolved(event, plan, *cell.value)) return CopyText(unresolved, text);
  return WriteText(event, plan, *cell.value, text);
}

char* CleanedEnd(const PlanLayout& layout, char* text, char* end) {
  return layout.clean ? layout.clean(text, end) : end;
}

// Takes what a row says of itself out of the text of one of its cells, as it was before cleaning.
void DescribeRow(EventRows& rows, const PlanCell& cell, std::string_view text, PlanLayout& layout,
                 EventRecord& row) {
  if (cell.is_provider) row.providerName = KeepProvider(rows, text, layout.last_provider);
  if (cell.is_level) row.level = LevelOf(text);
}

template <Policy kPolicy>
char* WriteSlot(Bytes bytes, const SubstitutionValue& value, char* text) {
  return kPolicy == Policy::kComplete ? WriteCompleteText(bytes, value, text)
                                      : WriteValueText(bytes, value, text);
}

template <Policy kPolicy>
bool IsFree(std::uint8_t type) {
  return kPolicy == Policy::kComplete ? IsFreeCompleteText(type) : IsFreeText(type);
}

// One copy for each policy and each way of keeping cells: with a separator that is known
// beforehand, ending a plain cell is a single store.
template <CellForm kForm, Policy kPolicy>
char* WriteCells(EventRows& rows, PlanLayout& layout, const EventStructure& event, const Plan& plan,
                 RowBuilder& builder, EventRecord& row) {
  const Bytes bytes = event.bytes;
  const SubstitutionValue* const slots = event.slots.room.data();
  const char* const fixed = layout.fixed.data();
  const char separator = rows.joined.separator;
  char* at = builder.start;
  for (const PlanCell& cell : layout.cells) {
    at = CopyFixed(fixed + cell.fixed_begin, cell.fixed_size, at);
    char* const text = at + (kForm == CellForm::kJoined ? 0 : kCellPrefix);
    char* end = nullptr;
    bool plain = false;
    if (cell.is_slot) {
      // Most values are texts, and most texts plain; `end` stays null for the others.
      const SubstitutionValue& value = slots[cell.slot];
      const bool is_text = value.type == kEvtVarTypeString;
      end = is_text ? WritePlainAscii(bytes, value.offset, value.size / 2, text) : nullptr;
      plain = end || !IsFree<kPolicy>(value.type);
      if (!end) {
        end = cell.optional && value.type == kEvtVarTypeNull
                  ? CopyText(layout.unresolved, text)
                  : WriteSlot<kPolicy>(bytes, value, text);
      }
    } else {
      end = WriteParts(event, plan, cell, layout.unresolved, text);
    }
    if (cell.describes_row) DescribeRow(rows, cell, {text, end}, layout, row);
    if (kForm == CellForm::kJoined && plain) {
      at = EndPlainCell(end, separator);
    } else {
      BeginCell(builder, at);
      at = plain ? EndPlainCell(builder, end) : EndCell(builder, CleanedEnd(layout, text, end));
    }
  }
  return CopyFixed(fixed + layout.last_begin, layout.last_size, at);
}

template <Policy kPolicy>
char* WriteRow(EventRows& rows, PlanLayout& layout, const PlannedEvent& event, RowBuilder& builder,
               EventRecord& row) {
  const EventStructure& structure = event.structure;
  const Plan& plan = event.plan;
  return builder.form == CellForm::kJoined
             ? WriteCells<CellForm::kJoined, kPolicy>(rows, layout, structure, plan, builder, row)
             : WriteCells<CellForm::kPacked, kPolicy>(rows, layout, structure, plan, builder, row);
}

}  // namespace

void MakeLayout(EventRows& rows, const Plan& plan, const ColumnSet& columns,
                const std::vector<const PlanValue*>& values, std::string_view unresolved,
                bool finish, PlanLayout& layout) {
  layout.columns = &columns;
  layout.cells.clear();
  layout.unresolved = unresolved;
  layout.provider = {};
  layout.level = 0;
  std::size_t literals = 0;
  for (const PlanValue* value : values) literals += finish ? LiteralSize(plan, value) : 0;
  FinishedCells finished;
  if (finish) finished.builder = BeginRow(rows, literals + values.size() * kMaxCellOverhead);
  finished.at = finished.builder.start;
  for (std::size_t column = 0; column < values.size(); ++column) {
    PlanCell cell = MakeCell(plan, values[column]);
    cell.is_provider = static_cast<int>(column) == columns.provider_name;
    cell.is_level = static_cast<int>(column) == columns.level;
    cell.describes_row = cell.is_provider || cell.is_level;
    if (finish && IsLiteral(plan, values[column])) {
      FinishCell(rows, plan, values[column], cell, finished, layout);
      continue;
    }
    cell.fixed_begin = finished.begin;
    cell.fixed_size = SizeOf(finished.builder.start, finished.at) - finished.begin;
    finished.begin += cell.fixed_size;
    layout.cells.push_back(cell);
  }
  layout.last_begin = finished.begin;
  layout.last_size = SizeOf(finished.builder.start, finished.at) - finished.begin;
  layout.fixed.assign(finished.builder.start, finished.at);
  layout.fixed.append(kCellBlock, '\0');
}

PlanLayout* PlaceOf(KeptLayouts& kept, const Plan& plan) {
  constexpr std::size_t kMostKept = 1024;  // queries may be many, and plans too
  if (plan.id == kUnkeptPlan || (kept.size() == kMostKept && !kept.contains(plan.id))) {
    return nullptr;
  }
  return &kept[plan.id];
}

bool FitsFinished(const PlannedEvent& event, const PlanLayout& layout) {
  return MaxRowBytes(event, layout) <= kMostJoined;
}

void AddPlanRow(EventRows& rows, PlanLayout& layout, const PlannedEvent& event, EventRecord& row) {
  row.columns = layout.columns;
  row.providerName = layout.provider;
  row.level = layout.level;
  RowBuilder builder = BeginRow(rows, MaxRowBytes(event, layout));
  char* const end = event.structure.policy == Policy::kComplete
                        ? WriteRow<Policy::kComplete>(rows, layout, event, builder, row)
                        : WriteRow<Policy::kLiteral>(rows, layout, event, builder, row);
  EndRow(rows, builder, end, row);
}

}  // namespace tarnlex
