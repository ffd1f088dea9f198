#include "reports/record_stream.h"

#include "evt/plan.h"
#include "evt/structure.h"
#include "evtx/plan_of.h"
#include "output/json_text.h"
#include "reports/evt_query.h"

namespace tarnlex {
namespace {

// More plans than that come back too seldom.
constexpr std::size_t kMostLayouts = 4096;

bool IsWhole(const QuerySpec& query) { return query.all_data || query.pull.empty(); }

std::vector<PulledValue> PulledValues(const Plan& plan, const QuerySpec& query) {
  std::vector<PulledValue> values;
  for (const std::string& name : query.pull) values.push_back({name, FindValue(plan, name)});
  return values;
}

// The source and the computer are there anyway.
std::vector<PulledValue> EvtPulledValues(const Plan& plan, const QuerySpec& query) {
  std::vector<PulledValue> values;
  for (const std::string& name : query.pull) {
    if (!name.starts_with(kEvtParameter)) continue;
    values.push_back({EvtColumnName(query, name), FindValue(plan, name)});
  }
  return values;
}

// Where the layout for records of a plan is kept; `loose` for a plan that is not.
RecordJson& Place(RecordStream& stream, const QuerySpec& query, std::uint32_t position,
                  const Plan& plan) {
  const bool is_whole = IsWhole(query);
  if (plan.id == kUnkeptPlan || (is_whole && plan.id >= kMostLayouts)) {
    stream.loose.made = false;
    return stream.loose;
  }
  if (!is_whole) {
    auto& kept = stream.queries[position].pulled;
    if (kept.size() >= kMostLayouts && !kept.contains(plan.id)) kept.clear();
    return kept[plan.id];
  }
  if (stream.layouts.size() <= plan.id) stream.layouts.resize(plan.id + std::size_t{1});
  return stream.layouts[plan.id];
}

// The document of an EVT record, which is that of all with as many strings.
const Plan& DocumentPlan(RecordStream& stream, EvtRecord& record) {
  const auto strings = static_cast<std::uint32_t>(record.strings.size());
  const std::uint32_t key = 2 * strings + (record.data.empty() ? 0 : 1);
  return KeptOrMade(stream.evt, key, strings, [&](Plan& plan, bool keep) {
    MakeDocument(EvtStructureOf(record), plan.document);
    if (keep) plan.id = static_cast<std::uint32_t>(stream.evt.kept.size() - 1);
  });
}

}  // namespace

RecordStream MakeRecordStream(const std::string& log_path, const QueryList& queries) {
  RecordStream stream;
  stream.log = JsonString(log_path);
  for (const QuerySpec& query : queries) {
    QueryStream& of_query = stream.queries.emplace_back();
    if (!query.name.empty()) of_query.report = JsonString(query.name);
  }
  return stream;
}

void WriteEvtxStreamRecord(TextSink& out, RecordStream& stream, const RunOptions& options,
                           const QuerySpec& query, std::uint32_t position, EvtxDecoder& decoder,
                           DecodedEvent& event) {
  const Plan& plan = PlanOf(decoder, event);
  RecordJson& layout = Place(stream, query, position, plan);
  if (!layout.made) {
    const std::vector<PulledValue> pulled = PulledValues(plan, query);
    layout =
        LayOutRecordJson(event.structure, plan.document, plan, IsWhole(query) ? nullptr : &pulled);
  }
  const JsonRecord record{
      stream.log,         stream.queries[position].report, event.record_id,   event.time,
      event.written_time, event.record_file_offset,        options.timesketch};
  WriteRecordJson(out, record, event.structure, plan.document, layout);
}

void WriteEvtStreamRecord(TextSink& out, RecordStream& stream, const RunOptions& options,
                          const QuerySpec& query, std::uint32_t position, EvtRecord& record) {
  const EventStructure& event = EvtSlotsOf(record);
  const Plan& plan = DocumentPlan(stream, record);
  RecordJson& layout = Place(stream, query, position, plan);
  if (!layout.made) {
    const Plan& names = EvtPlanOf(record);
    const std::vector<PulledValue> pulled = EvtPulledValues(names, query);
    layout = LayOutRecordJson(event, plan.document, names, IsWhole(query) ? nullptr : &pulled);
  }
  const JsonRecord line{stream.log,        stream.queries[position].report,  record.record_number,
                        record.filetime,   EvtFiletime(record.time_written), record.offset,
                        options.timesketch};
  WriteRecordJson(out, line, event, plan.document, layout);
}

}  // namespace tarnlex
