#include "reports/evtx_query.h"

#include <algorithm>
#include <cstring>
#include <limits>

#include "evtx/record.h"
#include "logs/text.h"

namespace tarnlex {
namespace {

constexpr std::string_view kUnnamed = "<unnamed>";
constexpr std::string_view kUnresolved = "[null]";
constexpr std::string_view kProviderName = "Provider Name";

bool Holds(const Condition& condition, const DecodedEvent& event, std::string& scratch) {
  if (!condition.given) return true;
  const NamedValue* value = FindValueNoCase(event, condition.field);
  return value && ConditionHolds(condition, TextOf(event, *value, scratch));
}

bool AnyTextContains(const DecodedEvent& event, std::string_view lowered, std::string& scratch) {
  return std::any_of(event.values.begin(), event.values.end(), [&](const NamedValue& value) {
    return ContainsNoCase(TextOf(event, value, scratch), lowered);
  });
}

// Names that a query pulls and that become columns: those that have a column of their own anyway
// are left out once each when the query looks events up.
std::vector<std::string> PulledNames(const QuerySpec& query) {
  std::vector<std::string> names = query.pull;
  if (std::find(names.begin(), names.end(), kProviderName) == names.end()) {
    names.emplace_back(kProviderName);
  }
  if (!query.event_lookup) return names;
  for (const std::string_view own : {"EventRecordID", "EventID", "SystemTime"}) {
    const auto first = std::find(names.begin(), names.end(), own);
    if (first != names.end()) names.erase(first);
  }
  return names;
}

void PreparePulls(EventRows& rows, EvtxQuery& query) {
  const std::vector<std::string> names = PulledNames(*query.spec);
  std::vector<int> position_of;
  query.pulled = AddColumnSet(rows, {names.begin(), names.end()}, position_of);
  query.sources.clear();
  for (const std::string_view name : query.pulled->names) query.sources.emplace_back(name);
}

std::string_view ColumnName(const Name& name) { return name.text.empty() ? kUnnamed : name.text; }

std::uint64_t HashNames(const DecodedEvent& event) {
  std::uint64_t hash = event.values.size();
  for (const NamedValue& value : event.values) {
    hash = (hash ^ value.name->id) * 0x9E3779B97F4A7C15U;
    hash ^= hash >> 29;
  }
  return hash;
}

bool SameNames(const EvtxShape& shape, const DecodedEvent& event) {
  return std::equal(shape.name_ids.begin(), shape.name_ids.end(), event.values.begin(),
                    event.values.end(),
                    [](std::uint32_t id, const NamedValue& value) { return id == value.name->id; });
}

EvtxShape MakeShape(EventRows& rows, const DecodedEvent& event) {
  EvtxShape shape;
  std::vector<std::string_view> names;
  for (const NamedValue& value : event.values) {
    shape.name_ids.push_back(value.name->id);
    names.push_back(ColumnName(*value.name));
  }
  std::vector<int> position_of;
  shape.columns = AddColumnSet(rows, names, position_of);
  shape.order.resize(shape.columns->names.size());
  for (std::size_t i = 0; i < position_of.size(); ++i) {
    if (position_of[i] < 0) continue;
    shape.order[static_cast<std::size_t>(position_of[i])] = static_cast<std::uint32_t>(i);
  }
  return shape;
}

// Names and plans go together; shapes made of earlier ones mean nothing any more.
void ForgetStaleShapes(EvtxQueries& all, const EvtxDecoder& decoder) {
  if (all.names_generation == decoder.names.generation) return;
  all.shapes.clear();
  all.planned.clear();
  all.names_generation = decoder.names.generation;
}

EvtxShape& ShapeOf(EventRows& rows, EvtxQueries& all, const DecodedEvent& event) {
  std::vector<EvtxShape>& candidates = all.shapes[HashNames(event)];
  for (EvtxShape& shape : candidates) {
    if (SameNames(shape, event)) return shape;
  }
  return candidates.emplace_back(MakeShape(rows, event));
}

PlannedShape MakePlannedShape(EventRows& rows, const ValuePlan& plan) {
  PlannedShape shape;
  std::vector<std::string_view> names;
  for (const PlannedValue& value : plan.values) names.push_back(ColumnName(*value.name));
  std::vector<int> position_of;
  shape.columns = AddColumnSet(rows, names, position_of);
  shape.cells.resize(shape.columns->names.size());
  for (std::size_t i = 0; i < position_of.size(); ++i) {
    if (position_of[i] < 0) continue;
    const PlannedValue& value = plan.values[i];
    shape.cells[static_cast<std::size_t>(position_of[i])] = {value.origin, value.optional,
                                                             value.literal};
  }
  return shape;
}

PlannedShape& PlannedShapeOf(EventRows& rows, EvtxQueries& all, const ValuePlan& plan) {
  if (all.planned.size() <= plan.id) all.planned.resize(plan.id + std::size_t{1});
  PlannedShape& shape = all.planned[plan.id];
  if (!shape.columns) shape = MakePlannedShape(rows, plan);
  return shape;
}

char* CopyText(std::string_view text, char* at) {
  std::memcpy(at, text.data(), text.size());
  return at + text.size();
}

std::string_view CellAt(const char* at) {
  CellReader reader{at};
  return NextCell(reader);
}

std::uint32_t LevelOf(std::string_view text) {
  constexpr std::uint64_t kMax = std::numeric_limits<std::uint32_t>::max();
  return static_cast<std::uint32_t>(std::min(LeadingNumber(text), kMax));
}

// Fills what a row says of itself from the cells written for it: `provider` and `level` are where
// those cells begin, null without them. `last_provider` is the provider of the row before, mostly
// the same.
void FillFromCells(EventRows& rows, const char* provider, const char* level,
                   std::string_view& last_provider, EventRecord& row) {
  if (provider) {
    const std::string_view text = CellAt(provider);
    if (text != last_provider) last_provider = InternText(rows, text);
    row.providerName = last_provider;
  }
  if (level) row.level = LevelOf(CellAt(level));
}

void AddAllData(EventRows& rows, EvtxShape& shape, const DecodedEvent& event, EventRecord& row) {
  row.columns = shape.columns;
  const std::size_t overhead = shape.order.size() * (kMaxCellOverhead + kUnresolved.size());
  RowBuilder builder = BeginRow(rows, event.max_text + overhead);
  const auto provider = static_cast<std::size_t>(shape.columns->provider_name);
  const auto level = static_cast<std::size_t>(shape.columns->level);
  const char* provider_cell = nullptr;
  const char* level_cell = nullptr;
  char* at = builder.start;
  for (std::size_t column = 0; column < shape.order.size(); ++column) {
    if (column == provider) provider_cell = at;
    if (column == level) level_cell = at;
    const NamedValue& value = event.values[shape.order[column]];
    char* text = BeginCell(builder, at);
    text = value.unresolved ? CopyText(kUnresolved, text) : WriteText(event, value, text);
    at = EndCell(builder, text);
  }
  FillFromCells(rows, provider_cell, level_cell, shape.provider, row);
  EndRow(rows, builder, at, row);
}

char* WritePlanned(const EvtxDecoder& decoder, const PlannedCell& cell, char* text) {
  if (cell.origin == kOriginLiteral) return CopyText(cell.literal, text);
  const SubstitutionArray& array =
      (cell.origin & kOriginNestedSlot) != 0 ? decoder.nested.array : decoder.array;
  const SubstitutionValue& value = array.values[cell.origin & kOriginSlotMask];
  if (cell.optional && value.type == kEvtVarTypeNull) return CopyText(kUnresolved, text);
  return WriteValueText(decoder.chunk.data, value, text);
}

void AddPlanned(EventRows& rows, PlannedShape& shape, const EvtxDecoder& decoder,
                const DecodedEvent& event, EventRecord& row) {
  row.columns = shape.columns;
  RowBuilder builder = BeginRow(rows, event.max_text + shape.cells.size() * kMaxCellOverhead);
  const auto provider = static_cast<std::size_t>(shape.columns->provider_name);
  const auto level = static_cast<std::size_t>(shape.columns->level);
  const char* provider_cell = nullptr;
  const char* level_cell = nullptr;
  char* at = builder.start;
  for (std::size_t column = 0; column < shape.cells.size(); ++column) {
    if (column == provider) provider_cell = at;
    if (column == level) level_cell = at;
    at = EndCell(builder, WritePlanned(decoder, shape.cells[column], BeginCell(builder, at)));
  }
  FillFromCells(rows, provider_cell, level_cell, shape.provider, row);
  EndRow(rows, builder, at, row);
}

void AddPulled(EventRows& rows, const EvtxQuery& query, EvtxDecoder& decoder,
               const DecodedEvent& event, EventRecord& row) {
  row.columns = query.pulled;
  const std::size_t overhead = query.sources.size() * kMaxCellOverhead;
  RowBuilder builder = BeginRow(rows, event.max_text + overhead);
  const char* provider_cell = nullptr;
  const char* level_cell = nullptr;
  char* at = builder.start;
  for (std::size_t column = 0; column < query.sources.size(); ++column) {
    if (static_cast<int>(column) == query.pulled->provider_name) provider_cell = at;
    if (static_cast<int>(column) == query.pulled->level) level_cell = at;
    const auto name = decoder.names.by_text.find(query.sources[column]);
    const NamedValue* value =
        name == decoder.names.by_text.end() ? nullptr : FindValue(event, name->second);
    char* text = BeginCell(builder, at);
    at = EndCell(builder, value ? WriteText(event, *value, text) : text);
  }
  std::string_view last_provider;
  FillFromCells(rows, provider_cell, level_cell, last_provider, row);
  EndRow(rows, builder, at, row);
}

}  // namespace

EvtxQueries PrepareEvtxQueries(const QueryList& queries) {
  EvtxQueries all;
  for (const QuerySpec& spec : queries) {
    EvtxQuery& query = all.queries.emplace_back();
    query.spec = &spec;
    query.position = static_cast<std::uint32_t>(all.queries.size() - 1);
    query.tests = MakeQueryTests(spec);
  }
  return all;
}

bool EvtxQueryTakes(EvtxQueries& all, const EvtxQuery& query, EvtxDecoder& decoder,
                    DecodedEvent& event) {
  const QueryTests& tests = query.tests;
  if (!IdPasses(tests, event.event_id) || !TimePasses(tests, event.written_time)) return false;
  if (!tests.condition.given && !tests.success.given && tests.exists.empty()) return true;
  DecodeValues(decoder, event);
  return (tests.exists.empty() || AnyTextContains(event, tests.exists, all.scratch)) &&
         Holds(tests.condition, event, all.scratch) && Holds(tests.success, event, all.scratch);
}

void AddEvtxRow(EventRows& rows, EvtxQueries& all, EvtxQuery& query, EvtxDecoder& decoder,
                DecodedEvent& event) {
  EventRecord row;
  row.queryIndex = query.position;
  row.timeCreated = event.written_time;
  row.eventId = event.event_id;
  row.eventRecordId = event.record_id;
  if (query.label.empty()) {
    query.name = InternText(rows, query.spec->name);
    query.label = InternText(rows, query.spec->log_path);
  }
  row.queryName = query.name;
  row.queryLabel = query.label;
  ForgetStaleShapes(all, decoder);
  if (query.spec->all_data) {
    if (const ValuePlan* plan = PlanFor(decoder, event)) {
      AddPlanned(rows, PlannedShapeOf(rows, all, *plan), decoder, event, row);
    } else {
      AddAllData(rows, ShapeOf(rows, all, event), event, row);
    }
    return;
  }
  DecodeValues(decoder, event);
  if (!query.spec->pull.empty() && !query.pulled) PreparePulls(rows, query);
  if (query.pulled) {
    AddPulled(rows, query, decoder, event, row);
  } else {
    AddRow(rows, row, {});
  }
}

}  // namespace tarnlex
