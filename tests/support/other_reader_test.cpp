// What the builders write, read by programs that others wrote: whole outputs are compared.
#include "tests/support/other_reader.h"

#include <gtest/gtest.h>

#include "tests/support/evt_builder.h"
#include "tests/support/evtx_builder.h"

namespace tarnlex::support {
namespace {

#define READ_OR_SKIP(output, command, log)         \
  const auto output = ReadWithOther(command, log); \
  if (!output) GTEST_SKIP() << "not installed: " command

std::string EventXml(const std::string& number, const std::string& time,
                     const std::string& event_data) {
  return "<Event xmlns=\"http://schemas.microsoft.com/win/2004/08/events/event\">\n"
         "  <System>\n"
         "    <Provider Name=\"Microsoft-Windows-Security-Auditing\""
         " Guid=\"{54849625-5478-4994-A5BA-3E3B0328C30D}\"/>\n"
         "    <EventID>4624</EventID>\n"
         "    <Version>0</Version>\n"
         "    <Level>0</Level>\n"
         "    <Task>12544</Task>\n"
         "    <Opcode>0</Opcode>\n"
         "    <Keywords>0x8020000000000000</Keywords>\n"
         "    <TimeCreated SystemTime=\"" +
         time +
         "\"/>\n"
         "    <EventRecordID>" +
         number +
         "</EventRecordID>\n"
         "    <Correlation/>\n"
         "    <Execution ProcessID=\"456\" ThreadID=\"460\"/>\n"
         "    <Channel>Security</Channel>\n"
         "    <Computer>WKS-ALPHA</Computer>\n"
         "    <Security UserID=\"S-1-5-18\"/>\n"
         "  </System>\n" +
         event_data + "</Event>\n\n";
}

TEST(OtherReader, SeesEventsOfTheUsualShape) {
  EvtxBuilder log;
  Event event{.event_id = 4624,
              .task = 12544,
              .time = Filetime(2020, 2, 29, 23, 59, 58, 1234567),
              .user_sid = "S-1-5-18",
              .data = {{"TargetUserName", "al\xC3\xADs <&>"}, {"LogonType", UInt32Value(10)}}};
  const std::string data =
      "  <EventData>\n"
      "    <Data Name=\"TargetUserName\">al\xC3\xADs &lt;&amp;&gt;</Data>\n"
      "    <Data Name=\"LogonType\">10</Data>\n"
      "  </EventData>\n";
  log.AddEvent(event).AddEvent(event);
  event.nested_header = false;
  log.AddEvent(event);
  READ_OR_SKIP(output, "evtxexport -f xml", log.Build());
  const std::string time = "2020-02-29T23:59:58.123456700Z";
  EXPECT_EQ(*output,
            EventXml("1", time, data) + EventXml("2", time, data) + EventXml("3", time, data));
}

TEST(OtherReader, SeesEveryKindOfValue) {
  struct Case {
    Value value;
    const char* text;
  };
  // Negative numbers and characters beyond the first 65,536 come out wrong there.
  const std::vector<Case> cases = {
      {StringValue("\xE2\x82\xACx"), "\xE2\x82\xACx"},
      {SByteValue(1), "1"},
      {ByteValue(200), "200"},
      {Int16Value(300), "300"},
      {UInt16Value(65535), "65535"},
      {Int32Value(70000), "70000"},
      {UInt32Value(4294967295), "4294967295"},
      {Int64Value(5), "5"},
      {UInt64Value(18446744073709551615U), "18446744073709551615"},
      {BooleanValue(true), "true"},
      {BinaryValue({0x01, 0xAB}), "01AB"},
      {GuidValue("00112233-4455-6677-8899-aabbccddeeff"), "{00112233-4455-6677-8899-AABBCCDDEEFF}"},
      {FileTimeValue(Filetime(2001, 3, 4, 5, 6, 7)), "2001-03-04T05:06:07.000000000Z"},
      {SysTimeValue({2001, 3, 0, 4, 5, 6, 7, 8}), "2001-03-04T05:06:07.008Z"},
      {SidValue("S-1-5-21-1-2-3-500"), "S-1-5-21-1-2-3-500"},
      {HexInt32Value(0x1F), "0x0000001f"},
      {HexInt64Value(0x1F), "0x000000000000001f"}};
  Event event{
      .event_id = 4624, .task = 12544, .time = Filetime(2020, 1, 1), .user_sid = "S-1-5-18"};
  std::string data = "  <EventData>\n";
  for (const Case& each : cases) {
    const std::string name = std::to_string(each.value.type);
    event.data.emplace_back(name, each.value);
    data.append("    <Data Name=\"")
        .append(name)
        .append("\">")
        .append(each.text)
        .append("</Data>\n");
  }
  EvtxBuilder log;
  log.AddEvent(event);
  READ_OR_SKIP(output, "evtxexport -f xml", log.Build());
  EXPECT_EQ(*output, EventXml("1", "2020-01-01T00:00:00.000000000Z", data + "  </EventData>\n"));
}

std::string EntryText(const std::string& number, const std::string& minute) {
  return "Event number\t\t\t: " + number + "\nCreation time\t\t\t: Jul 27, 2011 06:" + minute +
         ":00 UTC\nWritten time\t\t\t: Jul 27, 2011 06:" + minute +
         ":00 UTC\nEvent type\t\t\t: Success Audit event (8)\n"
         "User security identifier\t: S-1-5-18\n"
         "Computer name\t\t\t: WKS-ALPHA\n"
         "Source name\t\t\t: Security\n"
         "Event category\t\t\t: 2\n"
         "Event identifier\t\t: 0x00000210 (528)\n"
         "Number of strings\t\t: 2\n"
         "String: 1\t\t\t: al\xC3\xADs\n"
         "String: 2\t\t\t: WKS\n\n";
}

EvtEntry Logon() {
  return {.event_id = 528,
          .type = 8,
          .category = 2,
          .sid = "S-1-5-18",
          .strings = {"al\xC3\xADs", "WKS"},
          .data = {1, 2, 3}};
}

TEST(OtherReader, SeesEntriesInAStraightLog) {
  EvtBuilder log;
  log.AddEntry(Logon()).AddEntry(Logon()).AddEntry(Logon());
  READ_OR_SKIP(output, "evtexport", log.Build());
  EXPECT_EQ(*output, EntryText("1", "01") + EntryText("2", "02") + EntryText("3", "03"));
}

TEST(OtherReader, SeesTheEntryThatTheEndOfTheFileCuts) {
  EvtBuilder log;
  log.AddEntry(Logon()).AddEntry(Logon()).AddEntry(Logon());
  const auto size = static_cast<std::uint32_t>(EvtEntryBytes(Logon()).size());
  // That program gives up where a record is moved behind the header whole, so every cut lies
  // inside the second one.
  for (std::uint32_t before = kEvtFixedSize; before < size; before += 4) {
    const std::uint32_t start = 1000 - size - before;
    READ_OR_SKIP(output, "evtexport",
                 log.Build({.start = start, .file_size = 1000, .flags = kEvtWrapped}));
    EXPECT_EQ(*output, EntryText("1", "01") + EntryText("2", "02") + EntryText("3", "03"))
        << before;
  }
}

}  // namespace
}  // namespace tarnlex::support
