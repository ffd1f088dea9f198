#include "reports/evt_query.h"

#include <span>
#include <string_view>
#include <utility>

#include "evt/plan.h"
#include "logs/parse_number.h"
#include "logs/text.h"

namespace tarnlex {
namespace {

// Numbers that no record can have a string for count as no number.
std::uint16_t StringNumber(std::string_view text) {
  const std::uint64_t number = LeadingNumber(text);
  return number <= 0xFFFF ? static_cast<std::uint16_t>(number) : std::uint16_t{0};
}

std::string PreparePull(const std::string& pull, QuerySpec& query) {
  const std::size_t bar = pull.find('|');
  const std::uint16_t number = StringNumber(pull.substr(0, bar));
  if (bar != std::string::npos) query.labels.emplace(number, ToLowerAscii(pull.substr(bar + 1)));
  return EvtParameterName(number);
}

// A histogram may also name a column by its text; that one stays.
std::string HistogramColumn(const std::string& field, const QuerySpec& query) {
  if (!IsDecimal(field)) return field;
  const std::string name = EvtParameterName(StringNumber(field));
  return std::string(EvtColumnName(query, name));
}

// From numbers to the names that columns have until then.
void PrepareHeaders(QuerySpec& query) {
  std::map<std::string, std::string, std::less<>> headers;
  for (const auto& [number, header] : query.headers) {
    headers.emplace(EvtParameterName(StringNumber(number)), header);
  }
  query.headers = std::move(headers);
}

// A string that -label names is given even where it is the last.
const PlanValue& PulledValueOf(const QuerySpec& query, const Plan& plan, Policy policy,
                               const std::string& name) {
  return EvtPulledValue(plan, query.headers.contains(name) ? Policy::kComplete : policy, name);
}

// The columns of a row, and for each of them the value that fills it.
struct NamedValues {
  std::vector<std::string_view> names;
  std::vector<const PlanValue*> values;
};

NamedValues RowValues(const EventRows& rows, const QuerySpec& query, const Plan& plan,
                      Policy policy) {
  NamedValues row;
  const auto add = [&](std::string_view pulled, const PlanValue& value) {
    const std::string_view name = EvtColumnName(query, pulled);
    if (!KeepsColumn(rows, name)) return;
    row.names.push_back(name);
    row.values.push_back(&value);
  };
  if (query.all_data) {
    for (const PlanValue& value : EvtColumnValues(plan)) add(value.name, value);
  } else {
    for (const std::string& name : query.pull) add(name, PulledValueOf(query, plan, policy, name));
  }
  return row;
}

// A name that comes twice keeps its first value.
void LayOut(EventRows& rows, const EvtQuery& query, const Plan& plan, Policy policy, bool finish,
            PlanLayout& layout) {
  const NamedValues row = RowValues(rows, *query.spec, plan, policy);
  std::vector<int> position_of;
  const ColumnSet* columns = AddColumnSet(rows, row.names, position_of);
  std::vector<const PlanValue*> values(columns->names.size());
  for (std::size_t i = 0; i < position_of.size(); ++i) {
    if (position_of[i] >= 0) values[static_cast<std::size_t>(position_of[i])] = row.values[i];
  }
  MakeLayout(rows, plan, *columns, values, {}, finish, layout);
  layout.clean = CleanEvtText;
}

}  // namespace

std::string_view EvtColumnName(const QuerySpec& query, std::string_view name) {
  if (!name.starts_with(kEvtParameter)) return name;
  const auto header = query.headers.find(name);
  if (header != query.headers.end()) return header->second;
  const auto label = query.labels.find(StringNumber(name.substr(kEvtParameter.size())));
  return label != query.labels.end() ? std::string_view(label->second) : name;
}

void PrepareForEvt(QuerySpec& query) {
  std::vector<std::string> names = {std::string(kEvtSourceColumn), std::string(kEvtComputerColumn)};
  for (const std::string& pull : query.pull) names.push_back(PreparePull(pull, query));
  query.pull = std::move(names);
  PrepareHeaders(query);
  query.histogram_columns.clear();
  for (const std::string& field : query.histogram_fields) {
    query.histogram_columns.push_back(HistogramColumn(field, query));
  }
}

EvtQueries PrepareEvtQueries(QueryList& queries) {
  EvtQueries all;
  for (QuerySpec& spec : queries) {
    PrepareForEvt(spec);
    EvtQuery& query = all.queries.emplace_back();
    query.spec = &spec;
    query.position = static_cast<std::uint32_t>(all.queries.size() - 1);
    query.tests = MakeQueryTests(spec);
    query.fields.resize(query.tests.conditions.size());
    for (Condition& condition : query.tests.conditions) {
      condition.field = EvtConditionName(condition.field);
    }
  }
  return all;
}

void ForgetRows(EvtQueries& all) {
  for (EvtQuery& query : all.queries) query.layouts.clear();
  all.loose = {};
}

bool EvtQueryTakes(EvtQueries& all, EvtQuery& query, EvtRecord& record) {
  const QueryTests& tests = query.tests;
  if (!IdPasses(tests, record.event_id) || !TimePasses(tests, record.filetime)) return false;
  if (tests.conditions.empty() && tests.exists.empty()) return true;
  const Plan& plan = EvtPlanOf(record);
  const EventStructure& event = record.structure;
  return PassesAll(tests.conditions, event, plan, query.fields, all.scratch) &&
         (tests.exists.empty() ||
          AnyTextContains(event, plan, EvtSearchedValues(plan), tests.exists, all.scratch));
}

void AddEvtRow(EventRows& rows, EvtQueries& all, EvtQuery& query, EvtRecord& record) {
  EventRecord row;
  row.timeCreated = record.filetime;
  row.eventId = record.event_id;
  row.eventRecordId = record.record_number;
  FillRowQuery(rows, *query.spec, query.position, row);
  const Plan& plan = EvtPlanOf(record);
  const PlannedEvent planned{record.structure, plan, record.max_text};
  const auto lay_out = [&](bool finish, PlanLayout& layout) {
    LayOut(rows, query, plan, record.structure.policy, finish, layout);
  };
  PlanLayout& layout = LayoutOf(PlaceOf(query.layouts, plan), all.loose, planned, lay_out);
  layout.level = record.event_type;
  AddPlanRow(rows, layout, planned, row);
}

}  // namespace tarnlex
