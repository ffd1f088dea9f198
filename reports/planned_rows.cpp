#include "reports/planned_rows.h"

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

// `plain` says whether cleaning would leave the text alone.
char* WriteSlot(Bytes chunk, const PlannedCell& cell, const SubstitutionValue& value, char* text,
                bool& plain) {
  if (value.type == kEvtVarTypeString) {
    char* const end = WritePlainAscii(chunk, value.offset, value.size / 2, text);
    if (end) return end;
  }
  plain = !IsFreeText(value.type);
  if (value.type == kEvtVarTypeNull && cell.optional) return CopyText(kUnresolved, text);
  return WriteValueText(chunk, value, text);
}

PlannedCell MakeCell(const PlannedValue& value) {
  PlannedCell cell;
  cell.slot = value.origin & kOriginSlotMask;
  cell.nested = (value.origin & kOriginNestedSlot) != 0;
  cell.optional = value.optional;
  return cell;
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
    PlannedCell& cell = shape.cells.emplace_back(MakeCell(value));
    cell.is_provider = is_provider;
    cell.is_level = is_level;
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

void AddPlannedRow(EventRows& rows, PlannedShape& shape, const EvtxDecoder& decoder,
                   const DecodedEvent& event, EventRecord& row) {
  row.columns = shape.columns;
  row.providerName = shape.provider;
  row.level = shape.level;
  RowBuilder builder =
      BeginRow(rows, event.max_text + shape.fixed.size() + shape.cells.size() * kMaxCellOverhead);
  const Bytes chunk = decoder.chunk.data;
  const char* const fixed = shape.fixed.data();
  const SubstitutionValue* const arrays[] = {decoder.array.values.data(),
                                             decoder.nested.array.values.data()};
  char* at = builder.start;
  for (const PlannedCell& cell : shape.cells) {
    at = CopyFixed(fixed + cell.fixed_begin, cell.fixed_size, at);
    const SubstitutionValue& value = arrays[cell.nested ? 1 : 0][cell.slot];
    char* const text = BeginCell(builder, at);
    bool plain = true;
    char* const end = WriteSlot(chunk, cell, value, text, plain);
    if (cell.is_provider) row.providerName = KeepProvider(rows, {text, end}, shape.provider);
    if (cell.is_level) row.level = LevelOf({text, end});
    at = plain ? EndPlainCell(builder, end) : EndCell(builder, end);
  }
  at = CopyFixed(fixed + shape.last_begin, shape.last_size, at);
  EndRow(rows, builder, at, row);
}

}  // namespace tarnlex
