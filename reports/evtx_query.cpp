#include "reports/evtx_query.h"

#include <algorithm>
#include <utility>

#include "evtx/record.h"
#include "logs/text.h"
#include "reports/evtx_cells.h"

namespace tarnlex {
namespace {

constexpr std::string_view kProviderName = "Provider Name";

bool Holds(const Condition& condition, const DecodedEvent& event, std::string& scratch) {
  if (!condition.given) return true;
  const NamedValue* value = FindValueNoCase(event.values, condition.field);
  return value && ConditionHolds(condition, TextOf(event, *value, scratch));
}

// The same by the record's plan. `fields` keeps where each plan has the field.
bool Holds(const Condition& condition, const EvtxDecoder& decoder, const ValuePlan& plan,
           std::vector<PlannedField>& fields, std::string& scratch) {
  if (!condition.given) return true;
  if (fields.size() <= plan.id) fields.resize(plan.id + std::size_t{1});
  PlannedField& field = fields[plan.id];
  if (!field.known) {
    const PlannedValue* value = FindValueNoCase(plan.values, condition.field);
    field = {true, value ? static_cast<std::int32_t>(value - plan.values.data()) : -1};
  }
  if (field.position < 0) return false;
  const PlannedValue& value = plan.values[static_cast<std::size_t>(field.position)];
  return ConditionHolds(condition, PlannedText(decoder, value, scratch));
}

bool AnyTextContains(const DecodedEvent& event, std::string_view lowered, std::string& scratch) {
  // A text that stands in many elements, one behind the other, is searched once.
  const ValuePart* searched = nullptr;
  return std::any_of(event.values.begin(), event.values.end(), [&](const NamedValue& value) {
    const bool whole = value.more_count == 0 && !value.unresolved;
    if (whole && searched && SameText(*searched, value.part)) return false;
    searched = whole ? &value.part : nullptr;
    return ContainsNoCase(TextOf(event, value, scratch), lowered);
  });
}

bool AnyTextContains(const EvtxDecoder& decoder, const ValuePlan& plan, std::string_view lowered,
                     std::string& scratch) {
  return std::any_of(plan.values.begin(), plan.values.end(), [&](const PlannedValue& value) {
    return ContainsNoCase(PlannedText(decoder, value, scratch), lowered);
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
  shape.columns = AddColumnsInOrder(rows, names, shape.order);
  return shape;
}

// Names and plans go together; shapes made of earlier ones mean nothing any more.
void ForgetStaleShapes(EvtxQueries& all, const EvtxDecoder& decoder) {
  if (all.names_generation == decoder.names.generation) return;
  all.shapes.clear();
  all.planned.clear();
  for (EvtxQuery& query : all.queries) {
    query.condition_fields.clear();
    query.success_fields.clear();
    query.pulled_shapes.clear();
  }
  all.names_generation = decoder.names.generation;
}

// The present record's plan, asked for once. Without one its values have been decoded.
const ValuePlan* PlanOf(EvtxQueries& all, EvtxDecoder& decoder, DecodedEvent& event) {
  ForgetStaleShapes(all, decoder);
  if (all.plan_serial != event.serial) {
    all.plan = PlanFor(decoder, event);
    all.plan_serial = event.serial;
  }
  return all.plan;
}

EvtxShape& ShapeOf(EventRows& rows, EvtxQueries& all, const DecodedEvent& event) {
  std::vector<EvtxShape>& candidates = all.shapes[HashNames(event)];
  for (EvtxShape& shape : candidates) {
    if (SameNames(shape, event)) return shape;
  }
  return candidates.emplace_back(MakeShape(rows, event));
}

PlannedShape& PlannedShapeOf(EventRows& rows, EvtxQueries& all, const ValuePlan& plan) {
  if (all.planned.size() <= plan.id) all.planned.resize(plan.id + std::size_t{1});
  PlannedShape& shape = all.planned[plan.id];
  if (!shape.columns) shape = MakePlannedShape(rows, plan);
  return shape;
}

// Null when the query knows too many plans already.
PlannedShape* PulledShapeOf(EventRows& rows, EvtxQuery& query, const ValuePlan& plan) {
  constexpr std::size_t kMostShapes = 1024;
  const auto known = query.pulled_shapes.find(plan.id);
  if (known != query.pulled_shapes.end()) return &known->second;
  if (query.pulled_shapes.size() == kMostShapes) return nullptr;
  PlannedShape shape = MakePulledShape(rows, plan, *query.pulled);
  return &query.pulled_shapes.emplace(plan.id, std::move(shape)).first->second;
}

// Takes what a row says of itself out of the text of one of its cells, as it was before cleaning.
void FillFromCell(EventRows& rows, std::size_t column, std::string_view text,
                  std::string_view& last_provider, EventRecord& row) {
  const int position = static_cast<int>(column);
  if (position == row.columns->provider_name) {
    row.providerName = KeepProvider(rows, text, last_provider);
  }
  if (position == row.columns->level) row.level = LevelOf(text);
}

void AddAllData(EventRows& rows, EvtxShape& shape, const DecodedEvent& event, EventRecord& row) {
  row.columns = shape.columns;
  const std::size_t overhead = shape.order.size() * (kMaxCellOverhead + kUnresolved.size());
  RowBuilder builder = BeginRow(rows, event.max_text + overhead);
  char* at = builder.start;
  for (std::size_t column = 0; column < shape.order.size(); ++column) {
    const NamedValue& value = event.values[shape.order[column]];
    char* const text = BeginCell(builder, at);
    char* const end =
        value.unresolved ? CopyText(kUnresolved, text) : WriteText(event, value, text);
    FillFromCell(rows, column, {text, end}, shape.provider, row);
    at = EndCell(builder, end);
  }
  EndRow(rows, builder, at, row);
}

void AddPulled(EventRows& rows, const EvtxQuery& query, EvtxDecoder& decoder,
               const DecodedEvent& event, EventRecord& row) {
  row.columns = query.pulled;
  const std::size_t overhead = query.sources.size() * kMaxCellOverhead;
  RowBuilder builder = BeginRow(rows, event.max_text + overhead);
  std::string_view last_provider;
  char* at = builder.start;
  for (std::size_t column = 0; column < query.sources.size(); ++column) {
    const auto name = decoder.names.by_text.find(query.sources[column]);
    const NamedValue* value =
        name == decoder.names.by_text.end() ? nullptr : FindValue(event, name->second);
    char* const text = BeginCell(builder, at);
    char* const end = value ? WriteText(event, *value, text) : text;
    FillFromCell(rows, column, {text, end}, last_provider, row);
    at = EndCell(builder, end);
  }
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

bool EvtxQueryTakes(EvtxQueries& all, EvtxQuery& query, EvtxDecoder& decoder, DecodedEvent& event) {
  const QueryTests& tests = query.tests;
  if (!IdPasses(tests, event.event_id) || !TimePasses(tests, event.written_time)) return false;
  if (!tests.condition.given && !tests.success.given && tests.exists.empty()) return true;
  if (const ValuePlan* plan = PlanOf(all, decoder, event)) {
    return (tests.exists.empty() || AnyTextContains(decoder, *plan, tests.exists, all.scratch)) &&
           Holds(tests.condition, decoder, *plan, query.condition_fields, all.scratch) &&
           Holds(tests.success, decoder, *plan, query.success_fields, all.scratch);
  }
  return (tests.exists.empty() || AnyTextContains(event, tests.exists, all.scratch)) &&
         Holds(tests.condition, event, all.scratch) && Holds(tests.success, event, all.scratch);
}

void AddEvtxRow(EventRows& rows, EvtxQueries& all, EvtxQuery& query, EvtxDecoder& decoder,
                DecodedEvent& event) {
  EventRecord row;
  row.timeCreated = event.written_time;
  row.eventId = event.event_id;
  row.eventRecordId = event.record_id;
  FillRowQuery(rows, *query.spec, query.position, query.texts, row);
  const ValuePlan* plan = PlanOf(all, decoder, event);
  if (query.spec->all_data) {
    if (plan && AddPlannedRow(rows, PlannedShapeOf(rows, all, *plan), decoder, event, row)) return;
    DecodeValues(decoder, event);
    AddAllData(rows, ShapeOf(rows, all, event), event, row);
    return;
  }
  if (!query.spec->pull.empty() && !query.pulled) PreparePulls(rows, query);
  if (!query.pulled) {
    AddRow(rows, row, {});
    return;
  }
  PlannedShape* shape = plan ? PulledShapeOf(rows, query, *plan) : nullptr;
  if (shape && AddPlannedRow(rows, *shape, decoder, event, row)) return;
  DecodeValues(decoder, event);
  AddPulled(rows, query, decoder, event, row);
}

}  // namespace tarnlex
