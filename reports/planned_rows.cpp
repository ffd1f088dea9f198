#include "reports/planned_rows.h"

#include <algorithm>

#include "evtx/value.h"
#include "logs/plain_ascii.h"
#include "reports/evtx_cells.h"

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

PlannedCell MakeCell(const PlannedValue& value) {
  PlannedCell cell;
  cell.slot = value.origin & kOriginSlotMask;
  cell.nested = (value.origin & kOriginNestedSlot) != 0;
  cell.optional = value.optional;
  return cell;
}

// `values` gives each column's value, null for none.
PlannedShape MakeShape(EventRows& rows, const ColumnSet& columns,
                       const std::vector<const PlannedValue*>& values) {
  PlannedShape shape;
  shape.columns = &columns;
  std::size_t literals = 0;
  for (const PlannedValue* value : values) literals += value ? value->literal.size() : 0;
  // A row that is never ended lends its place to the cells that do not change.
  RowBuilder builder = BeginRow(rows, literals + values.size() * kMaxCellOverhead);
  char* at = builder.start;
  std::uint32_t begin = 0;
  for (std::size_t column = 0; column < values.size(); ++column) {
    const PlannedValue* value = values[column];
    const bool is_provider = static_cast<int>(column) == columns.provider_name;
    const bool is_level = static_cast<int>(column) == columns.level;
    if (!value || value->origin == kOriginLiteral) {
      const std::string_view text = value ? value->literal : std::string_view();
      if (is_provider) shape.provider = InternText(rows, text);
      if (is_level) shape.level = LevelOf(text);
      at = EndCell(builder, CopyText(text, BeginCell(builder, at)));
      continue;
    }
    PlannedCell& cell = shape.cells.emplace_back(MakeCell(*value));
    cell.is_provider = is_provider;
    cell.is_level = is_level;
    cell.describes_row = is_provider || is_level;
    cell.fixed_begin = begin;
    cell.fixed_size = SizeOf(builder.start, at) - begin;
    begin += cell.fixed_size;
  }
  shape.last_begin = begin;
  shape.last_size = SizeOf(builder.start, at) - begin;
  shape.fixed.assign(builder.start, at);
  shape.fixed.append(kCellBlock, '\0');
  return shape;
}

}  // namespace

PlannedShape MakePlannedShape(EventRows& rows, const ValuePlan& plan) {
  std::vector<std::string_view> names;
  for (const PlannedValue& value : plan.values) names.push_back(ColumnName(*value.name));
  std::vector<std::uint32_t> order;
  const ColumnSet* columns = AddColumnsInOrder(rows, names, order);
  std::vector<const PlannedValue*> values;
  values.reserve(order.size());
  for (const std::uint32_t position : order) values.push_back(&plan.values[position]);
  PlannedShape shape = MakeShape(rows, *columns, values);
  shape.unresolved = kUnresolved;
  return shape;
}

PlannedShape MakePulledShape(EventRows& rows, const ValuePlan& plan, const ColumnSet& columns) {
  std::vector<const PlannedValue*> values;
  values.reserve(columns.names.size());
  for (const std::string_view name : columns.names) {
    const auto found =
        std::find_if(plan.values.begin(), plan.values.end(),
                     [name](const PlannedValue& value) { return value.name->text == name; });
    values.push_back(found == plan.values.end() ? nullptr : &*found);
  }
  return MakeShape(rows, columns, values);
}

namespace {

// One copy for each way of keeping cells: with a separator that is known beforehand, ending a plain
// cell is a single store.
template <bool kJoined>
char* WriteCells(EventRows& rows, PlannedShape& shape, const EvtxDecoder& decoder,
                 RowBuilder& builder, EventRecord& row) {
  const Bytes chunk = decoder.chunk.data;
  const char* const fixed = shape.fixed.data();
  const char separator = rows.joined.separator;
  const SubstitutionValue* const arrays[] = {decoder.array.values.data(),
                                             decoder.nested.array.values.data()};
  char* at = builder.start;
  for (const PlannedCell& cell : shape.cells) {
    at = CopyFixed(fixed + cell.fixed_begin, cell.fixed_size, at);
    const SubstitutionValue& value = arrays[cell.nested ? 1 : 0][cell.slot];
    char* const text = at + (kJoined ? 0 : kCellPrefix);
    // Most values are texts, and most texts plain; `end` stays null for the others.
    const bool is_text = value.type == kEvtVarTypeString;
    char* end = is_text ? WritePlainAscii(chunk, value.offset, value.size / 2, text) : nullptr;
    const bool plain = end || !IsFreeText(value.type);
    if (!end) {
      end = cell.optional && value.type == kEvtVarTypeNull ? CopyText(shape.unresolved, text)
                                                           : WriteValueText(chunk, value, text);
    }
    if (cell.describes_row) {
      if (cell.is_provider) row.providerName = KeepProvider(rows, {text, end}, shape.provider);
      if (cell.is_level) row.level = LevelOf({text, end});
    }
    if (kJoined && plain) {
      *end = separator;
      at = end + 1;
    } else {
      BeginCell(builder, at);
      at = plain ? EndPlainCell(builder, end) : EndCell(builder, end);
    }
  }
  return CopyFixed(fixed + shape.last_begin, shape.last_size, at);
}

}  // namespace

bool AddPlannedRow(EventRows& rows, PlannedShape& shape, const EvtxDecoder& decoder,
                   const DecodedEvent& event, EventRecord& row) {
  const std::size_t max_bytes =
      event.max_text + shape.fixed.size() + shape.cells.size() * kMaxCellOverhead;
  if (max_bytes > kMostJoined) return false;
  row.columns = shape.columns;
  row.providerName = shape.provider;
  row.level = shape.level;
  RowBuilder builder = BeginRow(rows, max_bytes);
  char* const end = builder.prefix == 0 ? WriteCells<true>(rows, shape, decoder, builder, row)
                                        : WriteCells<false>(rows, shape, decoder, builder, row);
  EndRow(rows, builder, end, row);
  return true;
}

}  // namespace tarnlex
