#include "reports/planned_rows.h"

#include "evtx/value.h"
#include "reports/evtx_cells.h"

namespace tarnlex {
namespace {

std::uint32_t SizeOf(const char* begin, const char* end) {
  return static_cast<std::uint32_t>(end - begin);
}

// Mostly a few short cells, so that one block is all there is to copy.
char* CopyFixed(const PlannedShape& shape, std::uint32_t begin, std::uint32_t size, char* at) {
  const char* from = shape.fixed.data() + begin;
  std::memcpy(at, from, kCellBlock);
  if (size > kCellBlock) std::memcpy(at + kCellBlock, from + kCellBlock, size - kCellBlock);
  return at + size;
}

const SubstitutionValue& ValueOf(const EvtxDecoder& decoder, std::uint8_t origin) {
  const bool nested = (origin & kOriginNestedSlot) != 0;
  const SubstitutionArray& array = nested ? decoder.nested.array : decoder.array;
  return array.values[origin & kOriginSlotMask];
}

}  // namespace

PlannedShape MakePlannedShape(EventRows& rows, const ValuePlan& plan) {
  PlannedShape shape;
  std::vector<std::string_view> names;
  for (const PlannedValue& value : plan.values) names.push_back(ColumnName(*value.name));
  std::vector<std::uint32_t> order;
  shape.columns = AddColumnsInOrder(rows, names, order);
  // A row that is never ended lends its place to the cells that do not change.
  RowBuilder builder = BeginRow(rows, plan.literal_text + order.size() * kMaxCellOverhead);
  char* at = builder.start;
  std::uint32_t begin = 0;
  for (std::size_t column = 0; column < order.size(); ++column) {
    const PlannedValue& value = plan.values[order[column]];
    const bool is_provider = static_cast<int>(column) == shape.columns->provider_name;
    const bool is_level = static_cast<int>(column) == shape.columns->level;
    if (value.origin == kOriginLiteral) {
      if (is_provider) shape.provider = InternText(rows, value.literal);
      if (is_level) shape.level = LevelOf(value.literal);
      at = EndCell(builder, CopyText(value.literal, BeginCell(builder, at)));
      continue;
    }
    if (is_provider) shape.provider_cell = static_cast<int>(shape.cells.size());
    if (is_level) shape.level_cell = static_cast<int>(shape.cells.size());
    const std::uint32_t end = SizeOf(builder.start, at);
    shape.cells.push_back({begin, end - begin, value.origin, value.optional});
    begin = end;
  }
  const std::uint32_t end = SizeOf(builder.start, at);
  shape.last_begin = begin;
  shape.last_size = end - begin;
  shape.fixed.assign(builder.start, end);
  shape.fixed.append(kCellBlock, '\0');
  return shape;
}

void AddPlannedRow(EventRows& rows, PlannedShape& shape, const EvtxDecoder& decoder,
                   const DecodedEvent& event, EventRecord& row) {
  row.columns = shape.columns;
  row.providerName = shape.provider;
  row.level = shape.level;
  RowBuilder builder =
      BeginRow(rows, event.max_text + shape.fixed.size() + shape.cells.size() * kMaxCellOverhead);
  char* at = builder.start;
  for (std::size_t i = 0; i < shape.cells.size(); ++i) {
    const PlannedCell& cell = shape.cells[i];
    at = CopyFixed(shape, cell.fixed_begin, cell.fixed_size, at);
    const SubstitutionValue& value = ValueOf(decoder, cell.origin);
    char* const text = BeginCell(builder, at);
    char* const end = cell.optional && value.type == kEvtVarTypeNull
                          ? CopyText(kUnresolved, text)
                          : WriteValueText(decoder.chunk.data, value, text);
    if (static_cast<int>(i) == shape.provider_cell) {
      row.providerName = KeepProvider(rows, {text, end}, shape.provider);
    }
    if (static_cast<int>(i) == shape.level_cell) row.level = LevelOf({text, end});
    at = IsFreeText(value.type) ? EndCell(builder, end) : EndPlainCell(builder, end);
  }
  at = CopyFixed(shape, shape.last_begin, shape.last_size, at);
  EndRow(rows, builder, at, row);
}

}  // namespace tarnlex
