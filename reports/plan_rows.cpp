#include "reports/plan_rows.h"

#include <algorithm>
#include <cstring>
#include <limits>
#include <span>

#include "event/slot_text.h"
#include "event/value.h"
#include "logs/plain_ascii.h"
#include "logs/text.h"

namespace tarnlex {
namespace {

// What the text of a "Level" value means to a row.
std::uint32_t LevelOf(std::string_view text) {
  constexpr std::uint64_t kMax = std::numeric_limits<std::uint32_t>::max();
  return static_cast<std::uint32_t>(std::min(LeadingNumber(text), kMax));
}

// Mostly the same as that of the row before.
std::uint32_t KeepProvider(EventRows& rows, std::string_view text, std::uint32_t& last) {
  if (text != rows.providers[last]) last = ProviderNumber(rows, text);
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

// The text of a literal value as rows have it, and what it says of them. A row that is never ended
// lends its place to it.
std::string FinishedText(EventRows& rows, const Plan& plan, const PlanValue* value,
                         const PlanCell& cell, PlanLayout& layout) {
  static const EventStructure kNoSlots;
  RowBuilder builder = BeginRow(rows, LiteralSize(plan, value) + kMaxCellOverhead);
  char* const text = BeginCell(builder, builder.start);
  char* const end = value ? WriteText(kNoSlots, plan, *value, text) : text;
  if (cell.is_provider) layout.provider = ProviderNumber(rows, {text, end});
  if (cell.is_level) layout.level = LevelOf({text, end});
  const char* const behind = EndCell(builder, end);
  const char* at = builder.start;
  return builder.form == CellForm::kJoined ? std::string(at, behind - 1)
                                           : std::string(NextOwnCell(at));
}

std::size_t MaxRowBytes(const PlannedEvent& event, const PlanLayout& layout) {
  constexpr std::size_t kOverhead = kMaxCellOverhead + kUnresolved.size();
  return event.max_text + layout.cells.size() * kOverhead;
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
  if (cell.is_provider) row.provider = KeepProvider(rows, text, layout.last_provider);
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

// Whether rows may share the cell of such a value: one whose text comes of its bytes alone, and is
// long. A single-byte text may go on behind them.
bool MayShare(const EventRows& rows, const PlanCell& cell, const SubstitutionValue& value,
              Bytes bytes) {
  const bool is_string = value.type == kEvtVarTypeString;
  if (!is_string && value.type != kEvtVarTypeGuid && value.type != kEvtVarTypeSid) return false;
  return MayRepeat(rows.repeated, is_string ? value.size / 2 : value.size) && !cell.describes_row &&
         Fits(bytes, value.offset, value.size);
}

// Adds the cell of a value if a row is known to have its text, and returns where the next cell
// begins; null otherwise. Then `place` is where the text is to be noted, if it is.
char* AddIfKnown(EventRows& rows, PlanCell& cell, const SubstitutionValue& value, Bytes bytes,
                 RowBuilder& builder, char* at, RepeatedCell*& place) {
  const Bytes raw = bytes.subspan(value.offset, value.size);
  if (cell.last && HoldsCell(*cell.last, raw, value.type)) {
    return AddKnownCell(builder, at, cell.last->text);
  }
  place = PlaceOf(rows.repeated, raw);
  if (!place) return nullptr;
  cell.last = place;
  if (HoldsCell(*place, raw, value.type)) return AddKnownCell(builder, at, place->text);
  Remember(*place, raw, value.type);
  return nullptr;
}

// Notes the cell that has been made of a value and ends at `end`, for later rows. Whatever value
// gets a place has its cell noted: one that came before it in the row may be noted for the same
// place.
static_assert(4 * kMostRepeated < kMostInHead, "marks make a text four times as long at most");
template <CellForm kForm>
void NoteCell(EventRows& rows, const RowBuilder& builder, RepeatedCell& place, const char* end) {
  const char* at = builder.cell;
  const std::string_view text = kForm == CellForm::kJoined
                                    ? std::string_view(at, static_cast<std::size_t>(end - at) - 1)
                                    : NextOwnCell(at);
  const auto offset = static_cast<std::size_t>(text.data() - builder.start);
  rows.repeated.unplaced.push_back({&place, offset, text.size()});
}

// Adds the cell of a value whose text is made when the row goes out, and returns where the next
// cell begins; null for any other value.
char* AddIfMadeLater(const PlanLayout& layout, const PlanCell& cell, const SubstitutionValue& value,
                     Bytes bytes, RowBuilder& builder, char* at) {
  if (value.type == kEvtVarTypeNull) {
    const bool left_out = cell.optional && layout.unresolved == kUnresolved;
    return left_out ? AddUnresolvedCell(builder, at) : nullptr;
  }
  std::uint64_t number = 0;
  if (value.size < sizeof number || !Fits(bytes, value.offset, value.size)) return nullptr;
  std::memcpy(&number, bytes.data() + value.offset, sizeof number);
  const bool hex = value.type == kEvtVarTypeHexInt64;
  return AddNumberCell(builder, at, hex ? PieceKind::kHex : PieceKind::kInstant, number);
}

// The types that the above is for.
constexpr bool MayBeMadeLater(std::uint8_t type) {
  return type == kEvtVarTypeNull || type == kEvtVarTypeHexInt64 || type == kEvtVarTypeFileTime;
}

// One copy for each policy and each way of keeping cells: with a separator that is known
// beforehand, ending a plain cell is a single store.
template <CellForm kForm, Policy kPolicy>
char* WriteStretch(EventRows& rows, PlanLayout& layout, const EventStructure& event,
                   const Plan& plan, std::span<PlanCell> cells, RowBuilder& builder, char* at,
                   EventRecord& row) {
  const Bytes bytes = event.bytes;
  const SubstitutionValue* const slots = event.slots.room.data();
  const char separator = rows.joined.separator;
  // A row that is too large to be joined has other texts than those around it.
  const bool shares = kForm == rows.joined.form;
  for (PlanCell& cell : cells) {
    char* const text = at + (kForm == CellForm::kJoined ? 0 : kCellPrefix);
    char* end = nullptr;
    RepeatedCell* place = nullptr;
    bool plain = false;
    if (cell.is_slot) {
      const SubstitutionValue& value = slots[cell.slot];
      if (kForm == CellForm::kJoined && kPolicy == Policy::kLiteral && MayBeMadeLater(value.type) &&
          !cell.describes_row) {
        char* const next = AddIfMadeLater(layout, cell, value, bytes, builder, at);
        if (next) {
          at = next;
          continue;
        }
      }
      if (shares && value.size >= kLeastRepeated && MayShare(rows, cell, value, bytes)) {
        char* const next = AddIfKnown(rows, cell, value, bytes, builder, at, place);
        if (next) {
          at = next;
          continue;
        }
      }
      // Most values are texts, and most texts plain; `end` stays null for the others.
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
      builder.cell = at;
      at = EndPlainCell(end, separator);
    } else {
      BeginCell(builder, at);
      at = plain ? EndPlainCell(builder, end) : EndCell(builder, CleanedEnd(layout, text, end));
    }
    if (place) NoteCell<kForm>(rows, builder, *place, at);
  }
  return at;
}

template <CellForm kForm, Policy kPolicy>
char* WriteCells(EventRows& rows, PlanLayout& layout, const EventStructure& event, const Plan& plan,
                 RowBuilder& builder, EventRecord& row) {
  char* at = builder.start;
  std::uint32_t begin = 0;
  for (const std::uint32_t end : layout.stretches) {
    const std::span<PlanCell> cells(layout.cells.data() + begin, end - begin);
    at = BeginStretch(builder, at);
    at = WriteStretch<kForm, kPolicy>(rows, layout, event, plan, cells, builder, at, row);
    at = EndStretch(builder, at);
    begin = end;
  }
  return at;
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
  layout.provider = 0;
  layout.level = 0;
  std::vector<FixedText> finished;
  layout.stretches.clear();
  for (std::size_t column = 0; column < values.size(); ++column) {
    PlanCell cell = MakeCell(plan, values[column]);
    cell.is_provider = static_cast<int>(column) == columns.provider_name;
    cell.is_level = static_cast<int>(column) == columns.level;
    cell.describes_row = cell.is_provider || cell.is_level;
    if (finish && IsLiteral(plan, values[column])) {
      finished.push_back({column, FinishedText(rows, plan, values[column], cell, layout)});
      continue;
    }
    const bool goes_on =
        !layout.stretches.empty() && (finished.empty() || finished.back().column + 1 != column);
    if (!goes_on) layout.stretches.push_back(0);
    layout.cells.push_back(cell);
    layout.stretches.back() = static_cast<std::uint32_t>(layout.cells.size());
  }
  layout.finished = finished.empty() ? nullptr : AddLayout(rows, values.size(), finished);
  // Only layouts that stay have finished cells.
  if (finish) rows.set_bytes += sizeof(PlanLayout) + layout.cells.size() * sizeof(PlanCell);
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
  row.layout = layout.finished;
  row.provider = layout.provider;
  row.level = layout.level;
  RowBuilder builder = BeginRow(rows, MaxRowBytes(event, layout));
  char* const end = event.structure.policy == Policy::kComplete
                        ? WriteRow<Policy::kComplete>(rows, layout, event, builder, row)
                        : WriteRow<Policy::kLiteral>(rows, layout, event, builder, row);
  EndRow(rows, builder, end, row);
}

}  // namespace tarnlex
