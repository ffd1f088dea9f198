// The usual shape of an event: <Event><System>...</System><EventData>...</EventData></Event>.
#include <utility>

#include "tests/support/evtx_builder.h"

namespace tarnlex::support {
namespace {

constexpr std::uint16_t kEventDataSlot = 17;

// <name>slot</name>, left out when the slot is null.
Node Field(std::string_view name, std::uint16_t slot, std::uint8_t type) {
  return DependingOn(slot, Element(name, {}, {OptionalSlot(slot, type)}));
}

Node SystemElement(const std::string& computer) {
  const auto attribute = [](std::string_view name, std::uint16_t slot, std::uint8_t type) {
    return Attribute(name, OptionalSlot(slot, type));
  };
  return Element(
      "System", {},
      {Element("Provider", {attribute("Name", 14, kString), attribute("Guid", 15, kGuid)}),
       DependingOn(3, Element("EventID", {attribute("Qualifiers", 4, kUInt16)},
                              {OptionalSlot(3, kUInt16)})),
       Field("Version", 11, kByte), Field("Level", 0, kByte), Field("Task", 2, kUInt16),
       Field("Opcode", 1, kByte), Field("Keywords", 5, kHexInt64),
       Element("TimeCreated", {attribute("SystemTime", 6, kFileTime)}),
       Field("EventRecordID", 10, kUInt64),
       Element("Correlation",
               {attribute("ActivityID", 7, kGuid), attribute("RelatedActivityID", 13, kGuid)}),
       Element("Execution",
               {attribute("ProcessID", 8, kUInt32), attribute("ThreadID", 9, kUInt32)}),
       Field("Channel", 16, kString), Element("Computer", {}, {Text(computer)}),
       Element("Security", {attribute("UserID", 12, kSid)})});
}

Template SystemTemplate(const std::string& computer) {
  const Node event = Element(
      "Event", {Attribute("xmlns", "http://schemas.microsoft.com/win/2004/08/events/event")},
      {SystemElement(computer), OptionalSlot(kEventDataSlot, kBinaryXml)});
  return MakeTemplate("system " + computer, {DependingOn(kEventDataSlot, event)});
}

// One definition per list of names and types, as providers have one per event.
Template DataTemplate(const std::vector<DataField>& data) {
  std::string seed = "data";
  std::vector<Node> fields;
  for (const DataField& field : data) {
    seed += "|" + field.name + ":" + std::to_string(field.value.type);
    std::vector<Node> attributes;
    if (!field.name.empty()) attributes.push_back(Attribute("Name", field.name));
    const auto slot = static_cast<std::uint16_t>(fields.size());
    fields.push_back(Element("Data", std::move(attributes), {Slot(slot, field.value.type)}));
  }
  return MakeTemplate(seed, {Element("EventData", {}, std::move(fields))});
}

Value EventDataValue(const Event& event) {
  if (event.event_data) return *event.event_data;
  Instance instance;
  instance.definition = DataTemplate(event.data);
  for (const DataField& field : event.data) instance.values.push_back(field.value);
  return InstanceValue(std::move(instance), event.nested_header);
}

}  // namespace

DataField::DataField(std::string_view field_name, Value field_value)
    : name(field_name), value(std::move(field_value)) {}

DataField::DataField(std::string_view field_name, std::string_view text)
    : name(field_name), value(StringValue(text)) {}

Fragment EventFragment(const Event& event) {
  const auto guid = event.provider_guid.empty() ? NullValue() : GuidValue(event.provider_guid);
  const auto user = event.user_sid.empty() ? NullValue() : SidValue(event.user_sid);
  return InstanceFragment(
      SystemTemplate(event.computer),
      {ByteValue(event.level), ByteValue(event.opcode), UInt16Value(event.task),
       UInt16Value(event.event_id), event.qualifiers ? UInt16Value(*event.qualifiers) : NullValue(),
       HexInt64Value(event.keywords), FileTimeValue(event.time), NullValue(),
       UInt32Value(event.process_id), UInt32Value(event.thread_id), UInt64Value(event.id),
       ByteValue(event.version), user, NullValue(), StringValue(event.provider), guid,
       StringValue(event.channel), EventDataValue(event)});
}

}  // namespace tarnlex::support
