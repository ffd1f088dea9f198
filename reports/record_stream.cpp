#include "reports/record_stream.h"

#include "evt/plan.h"
#include "evt/structure.h"
#include "evtx/plan_of.h"
#include "output/json_text.h"
#include "output/slot_room.h"
#include "reports/evt_query.h"

namespace tarnlex {
namespace {

// More plans than that come back too seldom.
constexpr std::size_t kMostLayouts = 4096;

bool IsWhole(const QuerySpec& query) { return query.all_data || query.pull.empty(); }

std::vector<PulledValue> PulledValues(const Plan& plan, const QuerySpec& query) {
  std::vector<PulledValue> values;
  for (const std::string& name : query.pull) {
    values.push_back({HeaderOf(query, name), FindValue(plan, name)});
  }
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

// Where the layout for whole events of a plan is kept; `loose` for a plan that is not.
template <typename T>
T& Place(Layouts<T>& layouts, const Plan& plan) {
  if (plan.id == kUnkeptPlan || plan.id >= kMostLayouts) {
    layouts.loose.made = false;
    return layouts.loose;
  }
  if (layouts.kept.size() <= plan.id) layouts.kept.resize(plan.id + std::size_t{1});
  return layouts.kept[plan.id];
}

// The same for what a query pulls.
RecordJson& Place(RecordStream& stream, const QuerySpec& query, std::uint32_t position,
                  const Plan& plan) {
  if (IsWhole(query) || plan.id == kUnkeptPlan) return Place(stream.json, plan);
  auto& kept = stream.queries[position].pulled;
  if (kept.size() >= kMostLayouts && !kept.contains(plan.id)) kept.clear();
  return kept[plan.id];
}

// A record for the forms that keep an event's structure.
struct StreamedEvent {
  const EventStructure& structure;
  const Plan& plan;  // with the event's document
  std::uint64_t record_id = 0;
  std::uint64_t written_time = 0;
  std::uint64_t file_offset = 0;
  Recovery recovery = {};
  std::size_t slot_room = 0;
};

void WriteEventJson(TextSink& out, Layouts<EventJson>& layouts, const StreamedEvent& event) {
  const Document& document = event.plan.document;
  const std::string beside = BesideEventJson(event.recovery, event.file_offset);
  if (document.items.empty()) {
    WriteBareEventJson(out, event.record_id, event.written_time, beside);
    return;
  }
  EventJson& layout = Place(layouts, event.plan);
  if (!layout.made) layout = LayOutEventJson(event.structure, document, false);
  if (WriteEventJson(out, event.structure, layout, false, event.slot_room, beside)) return;
  layouts.loose = LayOutEventJson(event.structure, document, true);
  WriteEventJson(out, event.structure, layouts.loose, true, event.slot_room, beside);
}

void WriteEventXml(TextSink& out, RecordStream& stream, const StreamedEvent& event) {
  const Document& document = event.plan.document;
  if (IsRecovered(event.recovery)) BeginRecoveredXml(out, event.recovery, event.file_offset);
  if (document.items.empty()) {
    WriteBareEventXml(out, event.record_id, event.written_time);
    return;
  }
  EventXml& layout = Place(stream.event_xml, event.plan);
  if (!layout.made) layout = LayOutEventXml(event.structure, document, false);
  if (WriteEventXml(out, event.structure, layout, false, event.slot_room, stream.replaced)) return;
  EventXml& own = stream.event_xml.loose;
  own = LayOutEventXml(event.structure, document, true);
  WriteEventXml(out, event.structure, own, true, event.slot_room, stream.replaced);
}

// Writes the record if that is the form that is asked for.
bool WriteWhole(TextSink& out, RecordStream& stream, const RunOptions& options,
                const StreamedEvent& event) {
  if (options.event_json_form) WriteEventJson(out, stream.event_json, event);
  if (options.event_xml_form) WriteEventXml(out, stream, event);
  return options.event_json_form || options.event_xml_form;
}

// The document of an EVT record, which is that of all with as many strings.
const Plan& DocumentPlan(RecordStream& stream, EvtRecord& record) {
  static const Plan kNothing;
  if (!record.recovery.has_values) return kNothing;
  const auto strings = static_cast<std::uint32_t>(record.strings.size());
  const std::uint32_t key = 2 * strings + (record.data.empty() ? 0 : 1);
  return KeptOrMade(stream.evt, key, strings, [&](Plan& plan, bool keep) {
    MakeDocument(EvtStructureOf(record), plan.document);
    if (keep) plan.id = static_cast<std::uint32_t>(stream.evt.kept.size() - 1);
  });
}

// RoomForSlots of a record. Those of a kept plan have the values of their arrays and no others, of
// which the bytes are counted already.
std::size_t RoomFor(const DecodedEvent& event, const Plan& plan) {
  const std::size_t nested = event.nested.usable ? event.nested.array.count : 0;
  const EventStructure& structure = event.structure;
  const bool is_counted = plan.id != kUnkeptPlan && plan.document.slots_once &&
                          IsComplete(structure) &&
                          structure.slots.count == event.array.count + nested;
  if (!is_counted) return RoomForSlots(structure, plan.document);
  const std::size_t bytes =
      std::size_t{event.array.bytes} + (nested > 0 ? event.nested.array.bytes : 0);
  return kMaxNumberRoom * structure.slots.count + kCompleteTextPerByte * bytes;
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
  const std::size_t slot_room = RoomFor(event, plan);
  if (WriteWhole(out, stream, options,
                 {event.structure, plan, event.record_id, event.written_time,
                  event.record_file_offset, event.recovery, slot_room})) {
    return;
  }
  RecordJson& layout = Place(stream, query, position, plan);
  if (!layout.made) {
    const std::vector<PulledValue> pulled = PulledValues(plan, query);
    layout =
        LayOutRecordJson(event.structure, plan.document, plan, IsWhole(query) ? nullptr : &pulled);
  }
  const JsonRecord record{
      stream.log,         stream.queries[position].report, event.record_id, event.time,
      event.written_time, event.record_file_offset,        event.recovery,  options.timesketch};
  WriteRecordJson(out, record, event.structure, slot_room, layout);
}

void WriteEvtStreamRecord(TextSink& out, RecordStream& stream, const RunOptions& options,
                          const QuerySpec& query, std::uint32_t position, EvtRecord& record) {
  const EventStructure& event = EvtSlotsOf(record);
  const Plan& plan = DocumentPlan(stream, record);
  const std::size_t slot_room = RoomForSlots(event, plan.document);
  if (WriteWhole(out, stream, options,
                 {event, plan, record.record_number, EvtFiletime(record.time_written),
                  record.offset, record.recovery, slot_room})) {
    return;
  }
  RecordJson& layout = Place(stream, query, position, plan);
  if (!layout.made) {
    const Plan& names = EvtPlanOf(record);
    const std::vector<PulledValue> pulled = EvtPulledValues(names, query);
    layout = LayOutRecordJson(event, plan.document, names, IsWhole(query) ? nullptr : &pulled);
  }
  const JsonRecord line{stream.log,
                        stream.queries[position].report,
                        record.record_number,
                        record.filetime,
                        EvtFiletime(record.time_written),
                        record.offset,
                        record.recovery,
                        options.timesketch};
  WriteRecordJson(out, line, event, slot_room, layout);
}

}  // namespace tarnlex
