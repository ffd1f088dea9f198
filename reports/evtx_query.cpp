#include "reports/evtx_query.h"

#include <algorithm>
#include <string_view>
#include <utility>

#include "event/names.h"
#include "evtx/plan_of.h"
#include "logs/text.h"

namespace tarnlex {
namespace {

constexpr std::string_view kProviderName = "Provider Name";

struct PulledName {
  std::string_view name;
  std::string_view header;
};

// Names that a query pulls and that become columns, with the provider's: those that have a column
// of their own anyway are left out once each when the query looks events up.
std::vector<PulledName> PulledNames(const QuerySpec& query) {
  std::vector<PulledName> names;
  for (const std::string& name : query.pull) names.push_back({name, HeaderOf(query, name)});
  const auto is_provider = [](const PulledName& each) { return each.header == kProviderName; };
  if (std::none_of(names.begin(), names.end(), is_provider)) {
    names.push_back({kProviderName, kProviderName});
  }
  if (!query.event_lookup) return names;
  for (const std::string_view own : {"EventRecordID", "EventID", "SystemTime"}) {
    const auto is_own = [own](const PulledName& each) { return each.name == own; };
    const auto first = std::find_if(names.begin(), names.end(), is_own);
    if (first != names.end()) names.erase(first);
  }
  return names;
}

void SetPulledColumns(EventRows& rows, EvtxQuery& query) {
  const std::vector<PulledName> names = PulledNames(*query.spec);
  query.gives_provider_twice = std::any_of(names.begin(), names.end(), [](const PulledName& each) {
    return each.name == kProviderName && each.header != kProviderName;
  });
  std::vector<std::string_view> headers;
  headers.reserve(names.size());
  for (const PulledName& each : names) headers.push_back(each.header);
  std::vector<int> position_of;
  query.pulled = AddColumnSet(rows, headers, position_of);
  query.pulled_names.assign(query.pulled->names.size(), {});
  for (const PulledName& each : names) {
    const int column = FindColumn(*query.pulled, each.header, false);
    query.pulled_names[static_cast<std::size_t>(column)].push_back(each.name);
  }
}

// Of several names that share a column the first that the event has gives the value.
std::vector<const PlanValue*> PulledValues(const Plan& plan, const EvtxQuery& query) {
  std::vector<const PlanValue*> values;
  values.reserve(query.pulled_names.size());
  for (const std::vector<std::string_view>& names : query.pulled_names) {
    const PlanValue*& value = values.emplace_back(nullptr);
    for (std::size_t i = 0; i < names.size() && !value; ++i) value = FindValue(plan, names[i]);
  }
  return values;
}

std::string_view ColumnName(const PlanValue& value) {
  return value.name.empty() ? kUnnamedName : value.name;
}

std::uint64_t HashNames(const Plan& plan) {
  std::uint64_t hash = plan.values.size();
  for (const PlanValue& value : plan.values) {
    hash = (hash ^ HashName(value.name)) * 0x9E3779B97F4A7C15U;
    hash ^= hash >> 29;
  }
  return hash;
}

bool SameNames(const NamedColumns& known, const Plan& plan) {
  if (known.order.size() != plan.values.size()) return false;
  for (std::size_t column = 0; column < known.order.size(); ++column) {
    if (known.columns->names[column] != ColumnName(plan.values[known.order[column]])) return false;
  }
  return true;
}

// The columns of the values of a plan that the rows keep; of two values that share a column the
// first has it.
NamedColumns MakeColumns(EventRows& rows, const Plan& plan) {
  NamedColumns made;
  std::vector<std::string_view> names;
  std::vector<std::uint32_t> place_of;
  for (std::uint32_t place = 0; place < plan.values.size(); ++place) {
    const std::string_view name = ColumnName(plan.values[place]);
    if (!KeepsColumn(rows, name)) continue;
    names.push_back(name);
    place_of.push_back(place);
  }
  std::vector<int> position_of;
  made.columns = AddColumnSet(rows, names, position_of);
  made.order.assign(made.columns->names.size(), 0);
  for (std::size_t i = 0; i < position_of.size(); ++i) {
    if (position_of[i] < 0) continue;
    made.order[static_cast<std::size_t>(position_of[i])] = place_of[i];
  }
  return made;
}

// Names can be made up so that any hash of theirs is the same: of few only is it known then.
const NamedColumns& ColumnsOf(EventRows& rows, EvtxQueries& all, const Plan& plan) {
  constexpr std::size_t kMostAlike = 16;
  constexpr std::size_t kBytesPerEntry = 128;
  std::vector<NamedColumns>& candidates = all.columns[HashNames(plan)];
  for (const NamedColumns& known : candidates) {
    if (SameNames(known, plan)) return known;
  }
  if (candidates.size() == kMostAlike) return all.picked = MakeColumns(rows, plan);
  const NamedColumns& made = candidates.emplace_back(MakeColumns(rows, plan));
  rows.set_bytes += kBytesPerEntry + made.order.size() * sizeof(made.order[0]);
  return made;
}

// What is known of plans with the same names is known of all their columns.
void LayOutAll(EventRows& rows, EvtxQueries& all, const Plan& plan, bool finish,
               PlanLayout& layout) {
  if (rows.wanted) all.picked = MakeColumns(rows, plan);
  const NamedColumns& named = rows.wanted ? all.picked : ColumnsOf(rows, all, plan);
  all.values.clear();
  for (const std::uint32_t position : named.order) all.values.push_back(&plan.values[position]);
  MakeLayout(rows, plan, *named.columns, all.values, kUnresolved, finish, layout);
}

void LayOutPulled(EventRows& rows, const EvtxQuery& query, const Plan& plan, bool finish,
                  PlanLayout& layout) {
  MakeLayout(rows, plan, *query.pulled, PulledValues(plan, query), {}, finish, layout);
}

// The host of the row just made, for a form that names it whatever the query pulls.
void KeepHost(EventRows& rows, EvtxQueries& all, EvtxDecoder& decoder, DecodedEvent& event) {
  const Plan& plan = PlanOf(decoder, event);
  const PlanValue* const host = FindValue(plan, "Computer");
  if (!host) return;
  rows.hosts.resize(rows.rows.size());
  rows.hosts.back() = InternText(rows, TextOf(event.structure, plan, *host, all.scratch));
}

PlanLayout* PlaceOf(std::vector<PlanLayout>& kept, const Plan& plan) {
  if (plan.id == kUnkeptPlan) return nullptr;
  if (kept.size() <= plan.id) kept.resize(plan.id + std::size_t{1});
  return &kept[plan.id];
}

// The cells of a row that the query has described.
void AddRowOf(EventRows& rows, EvtxQueries& all, EvtxQuery& query, EvtxDecoder& decoder,
              DecodedEvent& event, EventRecord& row) {
  if (!query.spec->all_data && query.spec->pull.empty()) {
    AddRow(rows, row, {});
    return;
  }
  const Plan& plan = PlanOf(decoder, event);
  if (query.spec->all_data) {
    const PlannedEvent planned{event.structure, plan, event.max_text};
    const auto lay_out = [&](bool finish, PlanLayout& layout) {
      LayOutAll(rows, all, plan, finish, layout);
    };
    AddPlanRow(rows, LayoutOf(PlaceOf(all.layouts, plan), all.loose, planned, lay_out), planned,
               row);
    return;
  }
  if (!query.pulled) SetPulledColumns(rows, query);
  // The bound counts each text once.
  const std::size_t times = query.gives_provider_twice ? 2 : 1;
  const PlannedEvent planned{event.structure, plan, times * event.max_text};
  const auto lay_out = [&](bool finish, PlanLayout& layout) {
    LayOutPulled(rows, query, plan, finish, layout);
  };
  PlanLayout* const place = PlaceOf(query.pulled_layouts, plan);
  AddPlanRow(rows, LayoutOf(place, all.loose, planned, lay_out), planned, row);
}

}  // namespace

EvtxQueries PrepareEvtxQueries(const QueryList& queries) {
  EvtxQueries all;
  for (const QuerySpec& spec : queries) {
    EvtxQuery& query = all.queries.emplace_back();
    query.spec = &spec;
    query.position = static_cast<std::uint32_t>(all.queries.size() - 1);
    query.tests = MakeQueryTests(spec);
    query.fields.resize(query.tests.conditions.size());
    query.search = MakeTextSearch(query.tests.exists);
  }
  return all;
}

bool EvtxQueryTakes(EvtxQueries& all, EvtxQuery& query, EvtxDecoder& decoder, DecodedEvent& event) {
  const QueryTests& tests = query.tests;
  if (!IdPasses(tests, event.event_id) || !TimePasses(tests, event.time)) return false;
  if (tests.conditions.empty() && tests.exists.empty()) return true;
  if (!tests.exists.empty() && IsKnownToLack(query.search, decoder, event)) return false;
  const Plan& plan = PlanOf(decoder, event);
  const EventStructure& structure = event.structure;
  return (tests.exists.empty() || Finds(query.search, decoder, event, plan, all.scratch)) &&
         PassesAll(tests.conditions, structure, plan, query.fields, all.scratch);
}

void AddEvtxRow(EventRows& rows, EvtxQueries& all, EvtxQuery& query, EvtxDecoder& decoder,
                DecodedEvent& event) {
  EventRecord row;
  row.timeCreated = event.time;
  row.eventId = event.event_id;
  row.eventRecordId = event.record_id;
  FillRowQuery(rows, *query.spec, query.position, row);
  AddRowOf(rows, all, query, decoder, event, row);
  if (rows.keeps_hosts && !query.spec->all_data) KeepHost(rows, all, decoder, event);
}

}  // namespace tarnlex
