#include "reports/record_stream.h"

#include "evtx/plan_of.h"
#include "output/json_text.h"

namespace tarnlex {
namespace {

// More plans than that come back too seldom.
constexpr std::size_t kMostLayouts = 4096;

std::vector<PulledValue> PulledValues(const Plan& plan, const QuerySpec& query) {
  std::vector<PulledValue> values;
  for (const std::string& name : query.pull) values.push_back({name, FindValue(plan, name)});
  return values;
}

RecordJson LayOut(const DecodedEvent& event, const Plan& plan, const QuerySpec& query) {
  if (query.all_data || query.pull.empty()) {
    return LayOutRecordJson(event.structure, plan, nullptr);
  }
  const std::vector<PulledValue> pulled = PulledValues(plan, query);
  return LayOutRecordJson(event.structure, plan, &pulled);
}

// Where the layout for records of a plan is kept; `loose` for a plan that is not.
RecordJson& Place(RecordStream& stream, const QuerySpec& query, std::uint32_t position,
                  const Plan& plan) {
  const bool is_whole = query.all_data || query.pull.empty();
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

void WriteStreamRecord(TextSink& out, RecordStream& stream, const RunOptions& options,
                       const QuerySpec& query, std::uint32_t position, EvtxDecoder& decoder,
                       DecodedEvent& event) {
  const Plan& plan = PlanOf(decoder, event);
  RecordJson& layout = Place(stream, query, position, plan);
  if (!layout.made) layout = LayOut(event, plan, query);
  const JsonRecord record{
      stream.log,         stream.queries[position].report, event.record_id,   event.time,
      event.written_time, event.record_file_offset,        options.timesketch};
  WriteRecordJson(out, record, event.structure, plan.document, layout);
}

}  // namespace tarnlex
