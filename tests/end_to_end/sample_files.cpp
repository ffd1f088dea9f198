#include "tests/end_to_end/sample_files.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <utility>

#include "tests/support/breakers.h"
#include "tests/support/evt_builder.h"
#include "tests/support/evtx_builder.h"

namespace tarnlex {
namespace {

using support::ByteString;
using support::Event;
using support::EvtBuilder;
using support::EvtEntry;
using support::EvtxBuilder;
using support::Filetime;
using support::Node;
using support::UnixTime;

using Texts = std::vector<std::pair<std::string, std::string>>;

// An event as forwarded logs hold them: plain elements with a handful of fields, so that a table of
// them stays narrow enough to be read.
struct PlainEvent {
  std::string provider;
  std::uint32_t id = 0;
  std::uint8_t level = 4;
  std::uint64_t time = 0;
  Texts data = {};
  std::string computer = "WKS-ALPHA";
  std::string guid = {};
};

Node TextElement(std::string_view name, const std::string& text) {
  return support::Element(name, {}, {support::Text(text)});
}

support::Fragment PlainFragment(const PlainEvent& event) {
  std::vector<Node> names = {support::Attribute("Name", event.provider)};
  if (!event.guid.empty()) names.push_back(support::Attribute("Guid", event.guid));
  std::vector<Node> data;
  for (const auto& [name, text] : event.data) {
    data.push_back(
        support::Element("Data", {support::Attribute("Name", name)}, {support::Text(text)}));
  }
  return support::ElementsFragment(
      {support::Element("Event", {},
                        {support::Element("System", {},
                                          {support::Element("Provider", names),
                                           TextElement("EventID", std::to_string(event.id)),
                                           TextElement("Level", std::to_string(event.level)),
                                           TextElement("Computer", event.computer)}),
                         support::Element("EventData", {}, data)})});
}

EvtxBuilder PlainBuilder(const std::vector<PlainEvent>& events) {
  EvtxBuilder log;
  for (const PlainEvent& event : events) {
    log.AddRecord({.time = event.time, .body = PlainFragment(event)});
  }
  return log;
}

ByteString PlainLog(const std::vector<PlainEvent>& events) { return PlainBuilder(events).Build(); }

Event Logon(const std::string& user, unsigned type, std::uint64_t time) {
  return {.event_id = 4624,
          .task = 12544,
          .time = time,
          .data = {{"TargetUserName", user}, {"LogonType", support::UInt32Value(type)}}};
}

ByteString SecurityLog() {
  EvtxBuilder log;
  log.AddEvent(Logon("alice", 2, Filetime(2012, 3, 7, 14, 5, 9, 1234567)));
  log.AddEvent(Logon("bob", 3, Filetime(2012, 3, 7, 14, 6, 0)));
  Event failed = Logon("mallory", 10, Filetime(2012, 3, 7, 14, 7, 30, 5000000));
  failed.event_id = 4625;
  log.AddEvent(failed);
  return log.Build();
}

ByteString PlainSample() {
  const auto at = [](int minute) { return Filetime(2012, 3, 7, 10, minute, 0, 1230000); };
  return PlainLog({
      {.provider = "Alpha", .id = 2, .level = 0, .time = at(1), .data = {{"Text", "first"}}},
      {.provider = "Alpha", .id = 2, .level = 1, .time = at(2), .data = {{"Text", "a|b,c"}}},
      {.provider = "Beta", .id = 2, .level = 2, .time = at(3), .data = {{"Other", "x\r\ny\n\rz"}}},
      {.provider = "Beta, Inc", .id = 17, .level = 3, .time = at(4), .data = {{"Text", "\n\r\n"}}},
      {.provider = "Alpha", .id = 17, .level = 4, .time = at(5), .data = {{"Text", "Grüße\ttab"}}},
      {.provider = "Alpha", .id = 17, .level = 5, .time = at(6)},
  });
}

// A restart as Windows writes it: unnamed texts only.
support::Record RestartRecord() {
  return {
      .time = Filetime(2012, 3, 8, 14, 0, 0),
      .body = support::ElementsFragment({support::Element(
          "Event", {},
          {support::Element("System", {},
                            {support::Element("Provider", {support::Attribute("Name", "USER32")}),
                             TextElement("EventID", "1074"), TextElement("Level", "4"),
                             TextElement("Computer", "WKS-ALPHA")}),
           support::Element(
               "EventData", {},
               {TextElement("Data", "C:\\Windows\\system32\\winlogon.exe"),
                TextElement("Data", "WKS-ALPHA"), TextElement("Data", "planned")})})})};
}

ByteString SystemLog() {
  const auto at = [](int hour) { return Filetime(2012, 3, 8, hour, 30, 0); };
  const std::string kernel = "Microsoft-Windows-Kernel-General";
  EvtxBuilder log = PlainBuilder({
      {.provider = kernel, .id = 12, .time = at(6), .data = {{"MajorVersion", "6"}}},
      {.provider = kernel, .id = 13, .time = at(7)},
      {.provider = "Microsoft-Windows-Kernel-Power", .id = 42, .time = at(8)},
      {.provider = "Microsoft-Windows-Power-Troubleshooter",
       .id = 1,
       .time = at(9),
       .guid = "{CDC05E28-C449-49C6-B9D2-88CF761644DF}"},
      {.provider = kernel, .id = 1, .time = at(10)},
      {.provider = "USER32", .id = 1074, .time = at(11), .data = {{"param1", "winlogon.exe"}}},
      {.provider = "Microsoft-Windows-UserPnp",
       .id = 20001,
       .time = at(12),
       .data = {{"DeviceInstanceID", "USB\\VID_0781&PID_5530"}}},
      {.provider = "Microsoft-Windows-UserPnp",
       .id = 20001,
       .time = at(13),
       .data = {{"DeviceInstanceID", "PCI\\VEN_8086"}}},
  });
  log.AddRecord(RestartRecord());
  return log.Build();
}

ByteString AccountsLog() {
  int minute = 0;
  std::vector<PlainEvent> events;
  const auto add = [&](std::uint32_t id, Texts data) {
    events.push_back({.provider = "Microsoft-Windows-Security-Auditing",
                      .id = id,
                      .level = 0,
                      .time = Filetime(2012, 3, 9, 8, minute++, 0),
                      .data = std::move(data)});
  };
  for (const char* type : {"2", "12", "3", "4", "5", "7", "8", "9", "10", "11"}) {
    add(4624, {{"LogonType", type}});
  }
  add(4625, {{"TargetUserName", "mallory"}});
  add(4634, {{"TargetUserName", "alice"}});
  add(4648, {{"TargetUserName", "root"}});
  for (const std::uint32_t id : {4614U, 4723U, 4724U, 4738U, 4672U, 4720U, 4781U}) {
    add(id, {{"TargetUserName", "alice"}});
  }
  add(4616, {{"NewTime", "later"}});
  add(4673, {{"PrivilegeList", "SeSystemtimePrivilege"}});
  add(4674, {{"PrivilegeList", "SeTcbPrivilege"}});
  return PlainLog(events);
}

ByteString UsbDriverLog() {
  return PlainLog({
      {.provider = "Microsoft-Windows-DriverFrameworks-UserMode",
       .id = 2003,
       .time = Filetime(2012, 3, 9, 9, 0, 0),
       .data = {{"lifetime", "{1}"}}},
      {.provider = "Microsoft-Windows-DriverFrameworks-UserMode",
       .id = 1003,
       .time = Filetime(2012, 3, 9, 9, 1, 0)},
  });
}

ByteString RenamedSecurityLog() {
  EvtxBuilder log;
  log.AddEvent(Logon("carol", 2, Filetime(2012, 3, 7, 9, 0, 0)));
  Event clock = Logon("carol", 2, Filetime(2012, 3, 7, 9, 1, 0));
  clock.event_id = 4616;
  log.AddEvent(clock);
  log.AddChunk();  // a log of one short chunk would be too small to be judged by its content
  return log.Build();
}

ByteString TimesLog() {
  return PlainLog({
      {.provider = "Clock",
       .id = 1,
       .time = Filetime(2012, 3, 7, 12, 0, 0),
       .data = {{"At", "noon"}}},
      {.provider = "Clock", .id = 1, .time = Filetime(1969, 12, 31, 23, 59, 59)},
      {.provider = "Clock", .id = 1, .time = Filetime(2012, 3, 7, 11, 0, 0)},
      {.provider = "Clock",
       .id = 1,
       .time = Filetime(2012, 3, 7, 12, 0, 0),
       .data = {{"At", "again"}}},
  });
}

ByteString DamagedLog() {
  EvtxBuilder log;
  log.AddEvent(Logon("before", 2, Filetime(2012, 3, 7, 1, 0, 0)));
  support::Fragment lost = support::EventFragment(Logon("lost", 2, 1));
  lost.instance.front().definition_offset = 0xFFF0;
  log.AddRecord({.time = Filetime(2012, 3, 7, 2, 0, 0), .body = lost});
  log.AddEvent(Logon("after", 2, Filetime(2012, 3, 7, 3, 0, 0)));
  return log.Build();
}

// A log that a name says nothing of, with three kinds of damage: a size of 0, a slot whose
// signature is gone, and a last chunk that is cut.
ByteString TornLog() {
  EvtxBuilder log;
  int hour = 0;
  for (int chunk = 0; chunk < 3; ++chunk) {
    log.AddChunk();
    for (int i = 0; i < 2; ++i) {
      const std::string user =
          std::string(i == 0 ? "first" : "second") + " of " + std::to_string(chunk + 1);
      log.AddEvent(Logon(user, 2, Filetime(2012, 3, 7, ++hour, 0, 0)));
    }
  }
  ByteString file = log.Build();
  support::SetRecordSize(file, 0, 0, 0);
  support::RemoveChunkMagic(file, 1);
  support::CutLastChunk(file, 4000);
  return file;
}

// What an examiner looks for: the log was cleared at first, the clock was set back, two records are
// gone, and a byte of the second chunk was changed afterwards.
ByteString TamperedLog() {
  const auto at = [](int minute) { return Filetime(2012, 3, 7, 9, minute, 0); };
  EvtxBuilder log;
  log.AddEvent(
      {.provider = "Microsoft-Windows-Eventlog", .event_id = 1102, .time = at(10), .id = 41});
  log.AddEvent(Logon("erin", 2, at(20)));
  log.AddEvent(Logon("erin", 2, at(12)));
  log.AddChunk();
  Event behind_gap = Logon("erin", 2, at(30));
  behind_gap.id = 46;
  log.AddEvent(behind_gap);
  ByteString file = log.Build();
  support::SetU32(file, 120, 1);  // dirty; the header's checksum leaves its flags out
  support::FlipByte(file, support::ChunkOffset(1) + 528);
  return file;
}

ByteString TamperedLogOfXp() {
  const auto at = [](int minute) { return UnixTime(2006, 11, 2, 9, minute, 0); };
  EvtBuilder log;
  log.AddEntry({.number = 7, .time = at(10), .event_id = 517, .type = 8});
  log.AddEntry({.number = 9, .time = at(20), .event_id = 528, .type = 8});
  log.AddEntry({.number = 10, .time = at(11), .event_id = 538, .type = 8});
  return log.Build({.flags = support::kEvtDirty});
}

ByteString SmallSecurityLog() {
  EvtxBuilder log;
  log.AddEvent(Logon("dave", 2, Filetime(2012, 3, 7, 9, 0, 0)));
  Event clock = Logon("dave", 2, Filetime(2012, 3, 7, 9, 1, 0));
  clock.event_id = 4616;
  log.AddEvent(clock);
  return log.Build();
}

// Events as a log holds them that was exported from others: the record's header has another time
// than the event. What tells a value apart from what tables make of it stands in one event each.
support::Fragment ExportedEvent(std::uint32_t id, const char* system_time, Node data) {
  return support::ElementsFragment({support::Element(
      "Event", {},
      {support::Element(
           "System", {},
           {support::Element("Provider", {support::Attribute("Name", "Exported")}),
            TextElement("EventID", std::to_string(id)), TextElement("Level", "4"),
            support::Element("TimeCreated", {support::Attribute("SystemTime", system_time)}),
            TextElement("Channel", "System")}),
       std::move(data)})});
}

// The log that was cleared is the second channel that such an event tells.
Node ClearedLogData() {
  return support::Element(
      "UserData", {},
      {support::Element(
          "LogFileCleared", {support::Attribute("xmlns", "urn:cleared")},
          {TextElement("SubjectUserName", "mallory"), TextElement("Channel", "Security"),
           TextElement("BackupPath", "D:\\saved.evtx")})});
}

Node ReferenceData() {
  return support::Element(
      "EventData", {},
      {support::Element("Data", {support::Attribute("Name", "Script")},
                        {support::Text("if (a "), support::EntityReference("amp"),
                         support::EntityReference("amp"), support::Text(" b "),
                         support::EntityReference("lt"), support::Text(" 1) "),
                         support::CData("{ <run/> }"), support::CharacterReference(0xD83D),
                         support::CharacterReference(0xDE00), support::EntityReference("nbsp"),
                         support::ProcessingTarget("pi"), support::ProcessingData("end")}),
       support::Element("Data", {support::Attribute("Name", "Behind")}, {support::Text("&amp;")})});
}

// One value for each type whose text in tables is not what it is.
support::Fragment TypedValues() {
  const std::pair<const char*, support::Value> values[] = {
      {"U64", support::UInt64Value(0xFFFFFFFFFFFFFFFF)},
      {"S8", support::SByteValue(-1)},
      {"Bool", support::RawValue(support::kBoolean, {0, 1, 0, 0})},
      {"Zero", support::FileTimeValue(0)},
      {"Double", support::DoubleValue(1e-7)},
      {"Ansi", support::RawValue(support::kAnsiString, {'m', 0xFC, 'd', 'e'})},
      {"List", support::RawValue(support::kUInt32 | 0x80, support::Hex("01000000 02000000"))},
      {"Null", support::NullValue()}};
  std::vector<Node> data = {support::Element("EventID", {}, {support::Text("3")})};
  std::vector<support::Value> slots;
  for (const auto& [name, value] : values) {
    const auto slot = static_cast<std::uint16_t>(slots.size());
    data.push_back(support::Element("Data", {support::Attribute("Name", name)},
                                    {support::Slot(slot, value.type)}));
    slots.push_back(value);
  }
  return support::InstanceFragment(
      support::MakeTemplate("typed", {support::Element("Event", {}, data)}), slots);
}

// More values than tables take, whose texts one element holds together.
support::Fragment ManyValues() {
  std::vector<Node> parts;
  std::vector<support::Value> values;
  for (std::uint16_t i = 0; i < 100; ++i) {
    parts.push_back(support::Slot(i, support::kString));
    values.push_back(support::StringValue(std::to_string(i % 10)));
  }
  return support::InstanceFragment(
      support::MakeTemplate(
          "many", {support::Element(
                      "Event", {},
                      {support::Element("EventID", {}, {support::Text("4")}),
                       support::Element("Data", {support::Attribute("Name", "Hundred")}, parts)})}),
      values);
}

ByteString ExportedLog() {
  const auto at = [](int minute) { return Filetime(2020, 5, 6, 12, minute, 0); };
  EvtxBuilder log;
  log.AddRecord(
      {.time = at(1), .body = ExportedEvent(104, "2020-05-06T11:30:00.5Z", ClearedLogData())});
  log.AddRecord({.time = at(2), .body = ExportedEvent(2, "2020-05-06T11:00:00Z", ReferenceData())});
  log.AddRecord({.time = at(3), .body = TypedValues()});
  log.AddRecord({.time = at(4), .body = ManyValues()});
  const std::size_t last = support::ChunkOffset(0) + log.NextRecordOffset();
  log.AddRecord({.time = at(5),
                 .body = ExportedEvent(5, "2020-05-06T10:00:00Z",
                                       support::Element("EventData", {},
                                                        {TextElement("Data", "first"),
                                                         TextElement("Data", "second")}))});
  ByteString file = log.Build();
  support::SetU64(file, last + 16, 0);  // no time in the header
  return file;
}

ByteString SecurityLogOfXp() {
  EvtBuilder log;
  log.AddEntry({.time = UnixTime(2006, 11, 2, 8, 14, 9),
                .event_id = 528,
                .type = 8,
                .sid = "S-1-5-21-1-2-3-500",
                .strings = {"alice", "MARLOW", "(0x0,0x1A2B3)", "2"}});
  log.AddEntry({.time = UnixTime(2006, 11, 2, 8, 20, 0),
                .event_id = 529,
                .type = 16,
                .strings = {"mallory|x", "MARLOW\r\nline"}});
  log.AddEntry({.time = UnixTime(2006, 11, 2, 8, 30, 0),
                .event_id = 538,
                .type = 10,
                .strings = {"alice", "MARLOW", "(0x0,0x1A2B3)", "2"}});
  return log.Build();
}

// A log whose header does not state the size that such headers have.
ByteString WithHeaderSize(ByteString log, std::uint32_t size) {
  support::SetU32(log, 0, size);
  return log;
}

ByteString SystemLogOfXp() {
  EvtBuilder log;
  log.AddEntry({.time = UnixTime(2006, 11, 2, 7, 0, 0), .event_id = 12, .source = "Kernel"});
  log.AddEntry({.time = UnixTime(2006, 11, 2, 7, 5, 0),
                .event_id = 528,
                .source = "USER32",
                .strings = {"C:\\WINDOWS\\system32\\winlogon.exe", "restart"}});
  log.AddEntry({.time = UnixTime(2006, 11, 2, 7, 6, 0),
                .event_id = 0x80000000 + 13,
                .type = 2,
                .source = "Kernel"});
  log.AddEntry({.time = UnixTime(2006, 11, 2, 7, 7, 0), .event_id = 20001, .source = "PlugPlay"});
  return log.Build();
}

ByteString AccountsLogOfXp() {
  EvtBuilder log;
  const auto add = [&log](std::uint32_t id, std::vector<std::string> strings) {
    log.AddEntry({.time = UnixTime(2006, 11, 3, 9, static_cast<int>(id % 60), 0),
                  .event_id = id,
                  .type = 8,
                  .strings = std::move(strings)});
  };
  add(518, {"scecli"});
  add(520, {"1500", "rundll32.exe", "p.wren", "MARLOW", "(0x0)", "p.wren", "MARLOW", "(0x0)",
            "17:14:09", "11/2/2006", "14:14:09", "11/2/2006"});
  add(577, {"LSA", "-", "p.wren", "MARLOW", "(0x0)", "-", "-", "-", "SeSystemtimePrivilege"});
  add(577, {"LSA", "-", "p.wren", "MARLOW", "(0x0)", "-", "-", "-", "SeTcbPrivilege"});
  add(608, {"SeServiceLogonRight", "svc", "p.wren", "MARLOW", "(0x0)"});
  add(629, {"alice", "MARLOW", "S-1-5-21-1-2-3-1104", "root", "MARLOW", "(0x0)"});
  add(628, {"bob", "MARLOW", "S-1-5-21-1-2-3-1105", "root", "MARLOW", "(0x0)"});
  return log.Build();
}

ByteString ApplicationLogOfXp() {
  EvtBuilder log;
  log.AddEntry({.time = UnixTime(2006, 11, 2, 10, 0, 0),
                .event_id = 0x40000000 + 1000,
                .type = 1,
                .source = "Application Hang",
                .strings = {"tab\there", "two\nlines, one comma"}});
  return log.Build();
}

ByteString TimesLogOfXp() {
  EvtBuilder log;
  log.AddEntry({.time = UnixTime(2038, 2, 1), .event_id = 7, .source = "Clock"});
  log.AddEntry({.time = 0U, .event_id = 7, .source = "Clock"});
  log.AddEntry({.time = UnixTime(2006, 1, 1), .event_id = 7, .source = "Clock"});
  return log.Build();
}

// A ring that has turned: of four records the third lies across the end of the file, and in front
// of the first one is a copy of it that nothing has overwritten.
ByteString RingOfXp() {
  EvtBuilder log;
  support::EvtEntry entry{.event_id = 101, .source = "Ring", .strings = {"one", "of four"}};
  const std::uint32_t length = static_cast<std::uint32_t>(EvtEntryBytes(entry).size());
  for (const char* text : {"one", "two", "three", "four"}) {
    entry.strings[0] = text;
    log.AddEntry(entry);
  }
  const std::uint32_t start = support::kEvtHeaderSize + 4 * length;
  ByteString file = log.Build({.start = start,
                               .file_size = start + 2 * length + 100,
                               .flags = support::kEvtWrapped | support::kEvtDirty});
  std::copy_n(file.begin() + start, length, file.begin() + start - length);
  return file;
}

// A log that was cleared, and has written two records since. Of the six that it had before, the
// third lies under the new end, the fifth's source is no text any more, the others are whole.
ByteString ClearedLogOfXp() {
  const auto write = [](std::vector<const char*> texts) {
    EvtBuilder log;
    for (const char* text : texts) {
      log.AddEntry({.event_id = 101, .sid = "S-1-5-18", .strings = {text, "of a log"}});
    }
    return log.Build({.flags = support::kEvtDirty});
  };
  ByteString file = write({"old 1", "old 2", "old 3", "old 4", "old 5", "old 6"});
  const ByteString young = write({"new 1", "new 2"});
  std::copy(young.begin(), young.end(), file.begin());
  const std::size_t length = support::GetU32(file, support::kEvtHeaderSize);
  file[support::kEvtHeaderSize + 4 * length + support::kEvtFixedSize] = 7;
  return file;
}

// Five records of which the log has forgotten all but the first. The second one's own template is
// in that; what the third brings along is whole, that of the fourth is overwritten, and the fifth's
// own template is.
ByteString ForgottenLog() {
  EvtxBuilder log;
  const auto add = [&log](std::uint32_t id, const std::string& computer, const std::string& name) {
    log.AddEvent({.event_id = id,
                  .time = Filetime(2012, 3, 8, 9, static_cast<int>(id % 60), 0, 5),
                  .computer = computer,
                  .data = {{name, "alice"}, {"LogonType", "3"}}});
  };
  add(4608, "WKS-ALPHA", "First");
  add(4624, "WKS-ALPHA", "First");
  add(4625, "WKS-ALPHA", "TargetUserName");
  add(4634, "WKS-ALPHA", "Lost");
  add(4647, "WKS-OMEGA", "TargetUserName");
  ByteString file = log.Build();
  support::ForgetRecords(file, 0, 1);
  for (const char16_t* text : {u"Lost", u"WKS-OMEGA"}) {
    ByteString units;
    support::PutWide(units, text);
    std::search(file.begin(), file.end(), units.begin(), units.end())[1] = 0xD8;
  }
  return file;
}

// One log at three times: as it was, as it was when its second half had gone to another chunk, and
// after it was cleared, when a record of which nothing else tells lies behind the one that says so.
Event LogonOf(std::uint64_t id) {
  Event event = Logon("user " + std::to_string(id), 2, Filetime(2012, 3, 7, 9, 0, 0) + id);
  event.id = id;
  return event;
}

ByteString LogBeforeClearing(bool in_two_chunks) {
  EvtxBuilder log;
  log.AddEvent(LogonOf(1));
  if (in_two_chunks) log.AddChunk();
  return log.AddEvent(LogonOf(2)).AddEvent(LogonOf(3)).Build();
}

ByteString LogAfterClearing() {
  EvtxBuilder log;
  Event cleared = LogonOf(1);
  cleared.event_id = 1102;
  cleared.time = Filetime(2012, 3, 7, 10, 0, 0);
  log.AddEvent(cleared).AddEvent(LogonOf(2)).AddEvent(LogonOf(3)).AddEvent(LogonOf(4));
  ByteString file = log.Build();
  support::ForgetRecords(file, 0, 1);
  return file;
}

ByteString BareChunk() {
  EvtxBuilder log;
  const PlainEvent event{.provider = "Cut out", .id = 5, .data = {{"Text", "from memory"}}};
  log.AddRecord({.time = Filetime(2012, 3, 7, 4, 0, 0), .body = PlainFragment(event)});
  return log.BuildChunks();
}

// What a disk may hold: a chunk at an odd place, the first half of one that another follows, a
// record by itself, and an EVT log of which the end is gone.
ByteString DiskImage() {
  ByteString image(777);
  support::PutBytes(image, BareChunk());
  const ByteString forgotten = ForgottenLog();
  constexpr std::size_t kKept = 6576;  // behind its second record
  image.insert(image.end(), forgotten.begin() + support::kEvtxHeaderSize,
               forgotten.begin() + kKept);
  const ByteString small = SmallSecurityLog();
  support::PutBytes(image, ByteString(small.begin() + support::kEvtxHeaderSize, small.end()));
  image.resize(image.size() + 100);
  const auto record = static_cast<std::ptrdiff_t>(support::RecordOffset(forgotten, 0, 4));
  image.insert(image.end(), forgotten.begin() + record, forgotten.begin() + record + 2000);
  const ByteString xp = SecurityLogOfXp();
  image.insert(image.end(), xp.begin(), xp.end() - 200);
  return image;
}

// The signature of the file is gone, the chunk behind it is whole.
ByteString HeaderlessLog() {
  ByteString file = SmallSecurityLog();
  std::fill_n(file.begin(), 8, std::uint8_t{0});
  return file;
}

void WriteFile(const std::string& directory, const std::string& name, const ByteString& bytes) {
  const std::filesystem::path path = std::filesystem::path(directory) / name;
  std::filesystem::create_directories(path.parent_path());
  std::ofstream file(path, std::ios::binary);
  for (const std::uint8_t byte : bytes) file.put(static_cast<char>(byte));
}

}  // namespace

void WriteSampleFiles(const std::string& directory) {
  const std::string text = "These are notes, not a log.\n";
  const std::pair<const char*, ByteString> files[] = {
      {"Security.evtx", SecurityLog()},
      {"System.evtx", SystemLog()},
      {"plain.evtx", PlainSample()},
      {"copy1.evtx", RenamedSecurityLog()},
      {"accounts/Security.evtx", AccountsLog()},
      {"umdf/Microsoft-Windows-DriverFrameworks-UserMode%4Operational.evtx", UsbDriverLog()},
      {"times.evtx", TimesLog()},
      {"damaged.evtx", DamagedLog()},
      {"torn.evtx", TornLog()},
      {"forgotten.evtx", ForgottenLog()},
      {"tampered/Security.evtx", TamperedLog()},
      {"tampered/SecEvent.Evt", TamperedLogOfXp()},
      {"archive-7.evtx", SmallSecurityLog()},
      {"saved/exported.evtx", ExportedLog()},
      {"SecEvent.Evt", SecurityLogOfXp()},
      {"SysEvent.Evt", SystemLogOfXp()},
      {"dirty/SecEvent.Evt", WithHeaderSize(SecurityLogOfXp(), 0x20)},
      {"accounts/SecEvent.Evt", AccountsLogOfXp()},
      {"app/AppEvent.Evt", ApplicationLogOfXp()},
      {"times.evt", TimesLogOfXp()},
      {"ring/SysEvent.Evt", RingOfXp()},
      {"cleared/SysEvent.Evt", ClearedLogOfXp()},
      {"volume/WINDOWS/System32/Config/sysevent.EVT", SystemLogOfXp()},
      {"chunk.bin", BareChunk()},
      {"disk.img", DiskImage()},
      {"headerless/a.evtx", HeaderlessLog()},
      {"headerless/b.evtx", HeaderlessLog()},
      {"headerless/chunk.bin", BareChunk()},
      {"copies/now.evtx", LogAfterClearing()},
      {"copies/shadow1.evtx", LogBeforeClearing(false)},
      {"copies/shadow2.evtx", LogBeforeClearing(true)},
      {"empty.evtx", {}},
      {"notes.txt", ByteString(text.begin(), text.end())},
  };
  for (const auto& [name, bytes] : files) WriteFile(directory, name, bytes);
}

}  // namespace tarnlex
