// make_seeds OUT_DIR: writes a folder of first inputs for every fuzz target, made with the builders
// that the tests use.
#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iostream>

#include "tests/support/evt_builder.h"
#include "tests/support/evtx_builder.h"

namespace tarnlex::support {
namespace {

std::filesystem::path root;
bool failed = false;

void Save(const std::string& target, const std::string& name, const ByteString& bytes) {
  const std::filesystem::path folder = root / target;
  std::filesystem::create_directories(folder);
  std::ofstream file(folder / name, std::ios::binary);
  file.write(reinterpret_cast<const char*>(bytes.data()),
             static_cast<std::streamsize>(bytes.size()));
  failed = failed || !file;
}

void SaveText(const std::string& target, const std::string& name, std::string_view text) {
  Save(target, name, ByteString(text.begin(), text.end()));
}

// One value of every type.
std::vector<Value> AllValues() {
  return {NullValue(),
          StringValue("alice"),
          AnsiStringValue("bob"),
          SByteValue(-3),
          ByteValue(200),
          Int16Value(-300),
          UInt16Value(4624),
          Int32Value(-70000),
          UInt32Value(70000),
          Int64Value(-5),
          UInt64Value(~std::uint64_t{0}),
          SingleValue(1.5F),
          DoubleValue(-2.25e300),
          BooleanValue(true),
          BinaryValue(Hex("DE AD BE EF")),
          GuidValue("54849625-5478-4994-a5ba-3e3b0328c30d"),
          SizeTValue(4096),
          FileTimeValue(Filetime(2012, 3, 7, 14, 5, 9, 1234567)),
          SysTimeValue({2012, 3, 3, 7, 14, 5, 9, 7}),
          SidValue("S-1-5-21-1-2-3-500"),
          HexInt32Value(0x20),
          HexInt64Value(0x3E7),
          StringArrayValue({"one", "two", ""}),
          HexInt32ArrayValue({1, 2}),
          HexInt64ArrayValue({3})};
}

Event EventOfAllTypes() {
  Event event{.event_id = 4624, .level = 2, .user_sid = "S-1-5-18"};
  int number = 0;
  for (Value& value : AllValues()) {
    event.data.emplace_back("Field" + std::to_string(number++), std::move(value));
  }
  event.data.emplace_back("", "unnamed");
  event.data.emplace_back("", "unnamed again");
  return event;
}

// What streams have to escape, to number and to rename.
ByteString OddNames() {
  const std::vector<Node> nodes = {
      Element("a b", {Attribute("k", "1"), Attribute("k", "2"), Attribute("p:q", "\x01")},
              {Text("]]>&<\""), ProcessingTarget("xml"), ProcessingData("a?>b")}),
      Element("p:x", {Attribute("xmlns:p", "urn:p")}, {Element("p:y"), Element("#text")}),
      Element("Data", {Attribute("Name", "X")}, {Slot(0, kStringArray)}),
      Element("Data", {Attribute("Name", "X")}, {Slot(1, kString)}),
      Element("Data", {}, {Slot(0, kStringArray), Slot(0, kStringArray)}),
      Element("Y", {Attribute("k", OptionalSlot(2, kString))}, {OptionalSlot(2, kString)})};
  EvtxBuilder log;
  log.AddRecord(
      {.body = InstanceFragment(
           MakeTemplate("odd", {Element("Event", {}, {Element("EventData", {}, nodes)})}),
           {StringArrayValue({"a", "", "b"}),
            WideStringValue(std::u16string(u"\x01\"\xFFFF") + char16_t{0xD800}), NullValue()})});
  return log.Build();
}

Template NestingTemplate() {
  return MakeTemplate("nesting",
                      {Element("Event", {},
                               {Element("System", {}, {Element("EventID", {}, {Slot(0, kUInt16)})}),
                                Element("UserData", {}, {OptionalSlot(1, kBinaryXml)}),
                                Element("Data", {Attribute("Name", Slot(2, kString))},
                                        {Text("literal "), Slot(2, kString)})})});
}

Fragment NestedFragment() {
  Instance inner{.definition = NestingTemplate(),
                 .values = {UInt16Value(2), NullValue(), StringValue("deep")}};
  Instance middle{.definition = NestingTemplate(),
                  .values = {UInt16Value(3), InstanceValue(inner), StringValue("middle")}};
  return InstanceFragment(NestingTemplate(),
                          {UInt16Value(1), InstanceValue(middle), StringValue("outer")});
}

Fragment PlainElements() {
  return ElementsFragment({Element(
      "Event", {Attribute("xmlns", "urn:x")},
      {Element("Provider", {Attribute("Name", "Test")}), Element("EventID", {}, {Text("7")}),
       Element("Data", {}, {Text("a", true), Text("b")}), Element("Empty"), CData("stop here")})});
}

EvtxBuilder SmallLog() {
  EvtxBuilder log;
  log.AddEvent({.event_id = 4624, .data = {{"TargetUserName", "alice"}}});
  log.AddEvent({.event_id = 4625, .data = {{"TargetUserName", "bob"}, {"", "x"}}});
  log.AddEvent(EventOfAllTypes());
  log.AddRecord({.body = NestedFragment()});
  log.AddRecord({.body = PlainElements()});
  return log;
}

// A chunk in which names end where it ends: an empty one and one of four characters.
ByteString NamesAtTheEnd() {
  constexpr std::size_t kEmpty = 0xFFF8;
  constexpr std::size_t kNamed = 0xFFE6;  // with the zero unit behind it right before the empty one
  EvtxBuilder log;
  for (const auto name : {kEmpty, kNamed, kEmpty - 2}) {
    ByteString body = Hex("0F 01 01 00 01 00 00 00 00");
    PutU32(body, static_cast<std::uint32_t>(name));
    PutBytes(body, Hex("03 00 00 00 00 00 00"));
    log.AddRecord({.raw_body = body});
  }
  ByteString chunk = log.BuildChunks();
  SetBytes(chunk, kNamed, Hex("00 00 00 00 00 00 04 00 44 00 61 00 74 00 61 00 00 00"));
  return chunk;
}

// A chunk whose last records leave no room for a definition behind them.
ByteString RecordsAtTheEnd() {
  constexpr std::size_t kFirst = 65'489;
  constexpr std::size_t kSize = 4;
  constexpr std::size_t kDefinition = 34;
  ByteString chunk = SmallLog().BuildChunks();
  SetU32(chunk, 512 + kSize, static_cast<std::uint32_t>(kFirst - 512));
  SetU32(chunk, 512 + kDefinition, 0x10001);
  SetU32(chunk, kFirst + kSize, 1);
  SetU32(chunk, kFirst + 1 + kSize, 0x01000000);
  SetU32(chunk, kFirst + kDefinition, 0x9000);
  for (const std::size_t definition : {0x9000U, 0x90U}) {
    SetBytes(chunk, definition + 4, ByteString(16, 0x11));
  }
  return chunk;
}

void SaveEvtxSeeds() {
  const ByteString small = SmallLog().Build();
  Save("evtx", "small", small);
  Save("streams", "small", small);
  Save("streams", "odd_names", OddNames());
  // Read with -recover: the first record is the log's, the others are left over.
  ByteString forgotten = small;
  ForgetRecords(forgotten, 0, 1);
  forgotten[7] = 3;
  Save("evtx", "forgotten", forgotten);
  Save("streams", "forgotten", forgotten);
  Save("recover", "forgotten", forgotten);
  EvtxBuilder two = SmallLog();
  two.AddChunk().AddSlot().AddEvent(EventOfAllTypes());
  Save("evtx", "two_chunks_and_a_gap", two.Build());
  const ByteString chunk = SmallLog().BuildChunks();
  Save("recover", "slack", ByteString(chunk.begin(), chunk.begin() + 8192));
  Save("recover", "unsigned", ByteString(chunk.begin(), chunk.begin() + 8191));
  Save("evtx", "bare_chunk", chunk);
  Save("chunk", "small", ByteString(chunk.begin(), chunk.begin() + 8192));
  Save("chunk", "names_at_the_end", NamesAtTheEnd());
  Save("chunk", "records_at_the_end", RecordsAtTheEnd());
  Save("evtx", "names_at_the_end", NamesAtTheEnd());
  Save("evtx", "records_at_the_end", RecordsAtTheEnd());
  Save("chunk", "first_record", ByteString(chunk.begin(), chunk.begin() + 2560));
  for (const auto& [name, fragment] : {std::pair{"nested", NestedFragment()},
                                       {"elements", PlainElements()},
                                       {"all_types", EventFragment(EventOfAllTypes())}}) {
    ChunkImage image;
    // Offsets in the stream are those of a record's binary XML at its place in the target.
    image.bytes.resize(512 + 24);
    WriteFragment(image, fragment);
    Save("binary_xml", name, ByteString(image.bytes.begin() + 512 + 24, image.bytes.end()));
  }
}

// Records of few kinds, in chunks that name and place the same templates alike and not alike.
ByteString LikeRecords() {
  EvtxBuilder log;
  for (std::uint32_t chunk = 0; chunk < 2; ++chunk) {
    log.AddChunk();
    if (chunk == 1) log.AddEvent({.event_id = 1, .data = {{"Name", "first here"}}});
    for (std::uint32_t i = 0; i < 6; ++i) {
      log.AddEvent({.event_id = 4624 + i % 2,
                    .level = static_cast<std::uint8_t>(i),
                    .user_sid = i % 3 == 0 ? "" : "S-1-5-18",
                    .data = {{"TargetUserName", "user " + std::to_string(i)},
                             {"LogonType", UInt32Value(i)},
                             {"Empty", i % 2 == 0 ? NullValue() : StringValue("full")}}});
    }
    log.AddEvent(EventOfAllTypes());
  }
  return log.Build();
}

// Two chunks that define one template with the same bytes but for where its name stands, and there
// stand different names.
ByteString NamesElsewhere() {
  EvtxBuilder log;
  for (const std::string_view name : {"alpha", "bravo"}) {
    log.AddChunk();
    const std::vector<Node> body = {Element("Event", {}, {Element(name, {}, {Slot(0, kUInt16)})})};
    log.AddRecord(
        {.body = InstanceFragment(MakeTemplate("names the name", body), {UInt16Value(1)})});
    log.AddRecord({.body = InstanceFragment(MakeTemplate("same", body), {UInt16Value(2)})});
  }
  return log.Build();
}

void SaveKeptSeeds() {
  Save("kept", "names_elsewhere", NamesElsewhere());
  Save("kept", "like_records", LikeRecords());
  EvtxBuilder two = SmallLog();
  two.AddChunk().AddEvent(EventOfAllTypes());
  Save("kept", "small", two.Build());
  Save("kept", "bare_chunk", SmallLog().BuildChunks());
}

void SaveReportSeeds() {
  EvtBuilder evt;
  evt.AddEntry({.event_id = 528, .sid = "S-1-5-18", .strings = {"alice", "", "WKS"}});
  evt.AddEntry({.event_id = 612, .strings = {"bob"}});
  const auto save = [](const std::string& name, unsigned form, unsigned queries,
                       std::string_view commands, const ByteString& log) {
    ByteString bytes;
    PutU8(bytes, static_cast<std::uint8_t>(form));
    PutU8(bytes, static_cast<std::uint8_t>(queries));
    PutBytes(bytes, ByteString(commands.begin(), commands.end()));
    PutU8(bytes, 0);
    PutBytes(bytes, log);
    Save("report", name, bytes);
  };
  for (unsigned form = 0; form < 7; ++form) {
    save("evtx_form_" + std::to_string(form), form + 64 * (form % 2), 8, "", LikeRecords());
    save("evt_form_" + std::to_string(form), form, 8, "", evt.Build());
  }
  save("evtx_reports", 1, 2, "", LikeRecords());
  save("evt_reports", 1, 2, "", evt.Build());
  save("evtx_text", 132, 4, "", SmallLog().Build());
  save("evtx_commands", 1, 1,
       "!cmd, -enum_evtxlog, -id, 4624, -name, logon, -conditions, LogonType|2, -all_data\n"
       "!cmd, -enum_evtxlog, -type, security, -pull, TargetUserName, -hist, LogonType\n",
       LikeRecords());
  save("evtx_conditions", 1, 1,
       "!cmd, -enum_evtxlog, -and, LogonType|1, -not, TargetUserName|bob, -channel, Security, "
       "-provider, Microsoft-Windows-Security-Auditing, -pull, TargetUserName, "
       "-label, TargetUserName=User, -hist, TargetUserName\n",
       LikeRecords());
  save("evtx_labels", 1, 1,
       "!cmd, -enum_evtxlog, -pull, Provider Name, -label, Provider Name=who, -hist, Provider "
       "Name\n",
       SmallLog().Build());
  save("evt_commands", 1, 1,
       "!cmd, -enum_evtlog, -id, 0x210, -pull, 1|User, -pull, 2\n"
       "!cmd, -enum_evtlog, -string_exists, bob, -all_data\n"
       "!cmd, -enum_evtlog, -provider, Security, -and, 1, -not, 1|x, -pull, 1, -label, 1=User\n",
       evt.Build());
}

void SaveEvtSeeds() {
  EvtBuilder log;
  log.AddEntry({.event_id = 528, .sid = "S-1-5-18", .strings = {"alice", "", "WKS"}});
  log.AddEntry({.event_id = 538, .strings = {"bob"}, .data = Hex("01 02 03 04")});
  Save("evt", "small", log.Build());
  Save("evt", "wrapped", log.Build({.start = 260, .file_size = 520, .flags = kEvtWrapped}));
  log.AddRaw(Hex("00 00 00 00 11 11 11 11")).AddEntry({.event_id = 1, .length = 0});
  Save("evt", "odd_lengths", log.Build());
  Save("recover", "evt_odd_lengths", log.Build());
  ByteString cleared = log.Build({.flags = kEvtDirty});
  Save("recover", "evt_small", cleared);
  const ByteString empty = EvtBuilder().Build({.flags = kEvtDirty});
  std::copy(empty.begin(), empty.end(), cleared.begin());
  Save("recover", "evt_cleared", cleared);
}

// Chunks that are whole, cut and without a header, and records of both kinds by themselves.
void SaveCarveSeeds() {
  const ByteString chunks = SmallLog().BuildChunks();
  EvtBuilder evt;
  evt.AddEntry({.event_id = 528, .sid = "S-1-5-18", .strings = {"alice", "", "WKS"}});
  ByteString image = Hex("00 01 02");
  image.insert(image.end(), chunks.begin(), chunks.begin() + 3000);
  PutBytes(image, evt.Build());
  image.insert(image.end(), chunks.begin() + 512, chunks.begin() + 3000);
  Save("carve", "pieces", image);
  Save("carve", "chunks", chunks);
  image = evt.Build();
  image.insert(image.end(), image.begin() + 48, image.end());
  Save("carve", "evt", image);
}

void SaveOpenerSeeds() {
  const auto with_path = [](std::string_view path, const ByteString& content) {
    ByteString bytes(path.begin(), path.end());
    bytes.push_back(0);
    PutBytes(bytes, content);
    return bytes;
  };
  EvtBuilder evt;
  evt.AddEntry({.event_id = 528, .strings = {"alice"}});
  Save("opener", "evtx_by_name", with_path("C:\\x\\Security.evtx", SmallLog().Build()));
  Save("opener", "evtx_by_record", with_path("/x/%VSS%/odd.evtx", SmallLog().Build()));
  Save("opener", "evt_by_record", with_path("odd.evt", evt.Build()));
}

void SaveValueSeeds() {
  int number = 0;
  for (const Value& value : AllValues()) {
    ByteString bytes;
    PutU8(bytes, value.type);
    PutU16(bytes, 0);
    PutU16(bytes, static_cast<std::uint16_t>(value.bytes.size()));
    PutBytes(bytes, value.bytes);
    Save("value", "type_" + std::to_string(number++), bytes);
  }
}

void SaveTextSeeds() {
  SaveText(
      "command_file", "queries",
      "\xEF\xBB\xBF// accounts\r\n"
      "!cmd, -enum_evtxlog, -id, 4624, -name, logon, -conditions, LogonType|2, -all_data\r\n"
      "!cmd, -enum_evtxlog, -type, security, -pull, TargetUserName, -hist, IpAddress|User\n"
      "!cmd, -enum_evtlog, -id, 0x210, -pull, 1|User, -pull, 2, -success_type, error\n"
      "!cmd, -enum_evtlog, -start_time, 03/07/2012 10:00:00, -stop_time, Mar-08-2012\n"
      "!cmd, -enum_evtxlog, -string_exists, alice, -event_lookup, -log, c:\\Security.evtx\n"
      "!cmd, -enum_evtxlog, -and, a|b, -and, c, -not, d|e, -channel, System, -provider, x y, "
      "-pull, a, -label, a=User, -label, b\n"
      "!cmd, -enum_evtlog, -and, 1|b, -not, string|e, -provider, x, -pull, 1, -label, 1=User\n");
  SaveText(
      "options", "files",
      "-log\nSecurity.evtx | System.evtx\n-csv\n-out\nrecords.csv\n-stats\ncounts\n-hist\na|b");
  SaveText("options", "folder", "-pipe\n-outdir\nfolder\n-out\nx\n-bodyfile\n-allparams\n-quiet");
  SaveText("options", "formats",
           "-csvl2t\n-dateformat\nyyyy-mm-dd\n-timeformat\nhh:mm:ss.xxxxxx\n-no_whitespace\n"
           "-csv_separator\ntab\n-pair_datetime\n-base10\n-username\nu\n-hostname\nh");
  SaveText("options", "filters",
           "-eventid\n1, 0x2, 0o3\n-start_time\n03/07/2012 10:00:00\n-stop_time\n1/1/2013\n"
           "-string\nx\n-alias\na|b\n-aliaspath\nc:|d\n-logon\n-cmdfile\nmine\n-diags\ntrace");
  SaveText("options", "sources", "-livesys\n-partition\nc\n-vss\n1\n-xml\n-multiline\n-csvgen");
  ByteString instant;
  PutU64(instant, Filetime(2012, 3, 7, 14, 5, 9, 1234567));
  PutU64(instant, 7);
  PutU8(instant, 10);
  for (const std::string_view text :
       {"mm/dd/yyyyhh:mm:ss.xxx", "yyyy-mm-ddhh:mm:ss.xxxxxxxxx", "mmm dd, yyhh:mm",
        "03/07/2012 10:00:00", "07-Mar-2012 1:2"}) {
    ByteString bytes = instant;
    PutBytes(bytes, ByteString(text.begin(), text.end()));
    Save("date_time", "text_" + std::to_string(text.size()), bytes);
  }
}

}  // namespace
}  // namespace tarnlex::support

int main(int argc, char** argv) {
  using namespace tarnlex::support;
  if (argc != 2) {
    std::cerr << "usage: make_seeds OUT_DIR\n";
    return 2;
  }
  root = argv[1];
  SaveEvtxSeeds();
  SaveKeptSeeds();
  SaveReportSeeds();
  SaveEvtSeeds();
  SaveCarveSeeds();
  SaveOpenerSeeds();
  SaveValueSeeds();
  SaveTextSeeds();
  return failed ? 1 : 0;
}
