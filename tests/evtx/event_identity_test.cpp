#include "evtx/event_identity.h"

#include <algorithm>
#include <functional>
#include <random>

#include "tests/evtx/recovering.h"
#include "tests/output/streamed.h"

namespace tarnlex {
namespace {

using support::ByteString;
using support::DataField;
using support::Element;
using support::Event;
using support::EvtxBuilder;
using support::Node;
using support::Slot;

constexpr HashKey kKey{1, 2};

std::string HexOf(const Hash128& hash) { return HexText(hash.high) + HexText(hash.low); }

// The identities of all records of a log, in the order in which they are read.
std::vector<std::string> Identities(const ByteString& file, Policy policy = Policy::kComplete,
                                    bool keeps = true) {
  std::vector<std::string> all;
  EvtxDecoder decoder;
  decoder.policy = policy;
  decoder.keeps = keeps;
  IdentityRoom room;
  room.key = kKey;
  EvtxHandlers handlers;
  handlers.record = [&](EvtxDecoder& with, DecodedEvent& event) {
    all.push_back(HexOf(IdentityOf(room, with, event)));
    PlanOf(with, event);
    EXPECT_EQ(HexOf(IdentityOf(room, with, event)), all.back());
  };
  constexpr std::size_t kHeader = support::kEvtxHeaderSize;
  WalkSlots(decoder, Clip(file, kHeader, file.size()), kHeader, handlers);
  return all;
}

std::string IdentityOfOne(const support::Record& record) {
  EvtxBuilder log;
  log.AddRecord(record);
  const auto all = Identities(log.Build());
  EXPECT_EQ(all.size(), 1U);
  return all.empty() ? std::string() : all.front();
}

std::string IdentityOfOne(const Event& event) {
  EvtxBuilder log;
  log.AddEvent(event);
  return Identities(log.Build()).at(0);
}

Event Logon(std::uint64_t id) {
  return {.event_id = 4624,
          .time = support::Filetime(2020, 1, 1) + id,
          .id = id,
          .user_sid = "S-1-5-18",
          .data = {{"TargetUserName", "alice"}, {"LogonType", support::UInt32Value(3)}}};
}

Event Other(std::uint64_t id) {
  Event event = Logon(id);
  event.provider = "Another";
  event.computer = "WKS-OMEGA";
  event.data = {{"", "one"}, {"", "two"}};
  return event;
}

// A plain event in elements, as forwarded logs hold them.
support::Record Forwarded(std::uint64_t id, const std::string& text) {
  const auto element = [](std::string_view name, const std::string& value) {
    return Element(name, {}, {support::Text(value)});
  };
  return {.id = 900 + id,
          .time = support::Filetime(2021, 1, 1),
          .body = support::ElementsFragment({Element(
              "Event", {},
              {Element("System", {},
                       {element("EventRecordID", std::to_string(id)), element("Computer", "A")}),
               Element("EventData", {}, {element("Data", text)})})})};
}

TEST(EventIdentity, IsThatOfTheEventWhereverItsTemplatesAndNamesStand) {
  EvtxBuilder together;
  EvtxBuilder apart;
  EvtxBuilder behind_others;
  behind_others.AddEvent(Other(90)).AddEvent(Logon(91)).AddRecord(Forwarded(1, "x"));
  for (std::uint64_t id = 1; id <= 4; ++id) {
    const Event event = id % 2 == 0 ? Logon(id) : Other(id);
    for (EvtxBuilder* log : {&together, &apart, &behind_others}) log->AddEvent(event);
    for (EvtxBuilder* log : {&together, &apart, &behind_others}) {
      log->AddRecord(Forwarded(10 + id, "text"));
    }
    apart.AddChunk();
  }
  const auto expected = Identities(together.Build());
  EXPECT_EQ(expected.size(), 8U);
  EXPECT_EQ(Identities(apart.Build()), expected);
  auto last = Identities(behind_others.Build());
  last.erase(last.begin(), last.begin() + 3);
  EXPECT_EQ(last, expected);
}

TEST(EventIdentity, DoesNotDependOnHowALogIsRead) {
  EvtxBuilder log;
  Event many = Logon(7);
  for (int i = 0; i < 40; ++i) many.data.emplace_back("Again", std::to_string(i));
  log.AddEvent(Logon(1)).AddEvent(Logon(2)).AddEvent(Other(3)).AddEvent(many);
  log.AddRecord(Forwarded(4, "a")).AddRecord(Forwarded(5, "b"));
  log.AddRecord({.body = support::ElementsFragment({Element(
                     "Event", {},
                     {support::Text("in front "), support::CData("x"),
                      support::CharacterReference(65), support::EntityReference("amp")})})});
  const auto expected = Identities(log.Build());
  EXPECT_EQ(Identities(log.Build(), Policy::kLiteral), expected);
  EXPECT_EQ(Identities(log.Build(), Policy::kLiteral, false), expected);
  EXPECT_EQ(Identities(log.Build(), Policy::kComplete, false), expected);
}

TEST(EventIdentity, DiffersWithEveryValueOfTheEvent) {
  const std::function<void(Event&)> changes[] = {
      [](Event&) {},
      [](Event& event) { event.provider = "Else"; },
      [](Event& event) { event.provider_guid = "64849625-5478-4994-a5ba-3e3b0328c30d"; },
      [](Event& event) { event.event_id = 4625; },
      [](Event& event) { event.qualifiers = std::uint16_t{1}; },
      [](Event& event) { event.version = 1; },
      [](Event& event) { event.level = 1; },
      [](Event& event) { event.task = 1; },
      [](Event& event) { event.opcode = 1; },
      [](Event& event) { event.keywords = 1; },
      [](Event& event) { ++event.time; },
      [](Event& event) { ++event.id; },
      [](Event& event) { event.process_id = 1; },
      [](Event& event) { event.thread_id = 1; },
      [](Event& event) { event.channel = "System"; },
      [](Event& event) { event.computer = "WKS-OMEGA"; },
      [](Event& event) { event.user_sid = ""; },
      [](Event& event) { event.user_sid = "S-1-5-19"; },
      [](Event& event) { event.data.pop_back(); },
      [](Event& event) { event.data[0] = DataField("TargetUserName", "alicf"); },
      [](Event& event) { event.data[0] = DataField("TargetUserSid", "alice"); },
      [](Event& event) { event.data[0] = DataField("TargetUserName", support::NullValue()); },
      [](Event& event) { event.data[0] = DataField("TargetUserName", ""); },
      [](Event& event) { event.data[1] = DataField("LogonType", support::Int32Value(3)); },
      [](Event& event) { event.data[1] = DataField("LogonType", support::HexInt32Value(3)); },
      [](Event& event) { std::swap(event.data[0], event.data[1]); },
  };
  std::map<std::string, int> seen;
  int number = 0;
  for (const auto& change : changes) {
    Event event = Logon(5);
    change(event);
    const auto [place, added] = seen.emplace(IdentityOfOne(event), number++);
    EXPECT_TRUE(added) << number - 1 << " is as " << place->second;
  }
}

TEST(EventIdentity, TellsValuesApartThatAreEqualOneBehindTheOther) {
  const auto event_of = [](std::string_view first, std::string_view second) {
    Event event = Logon(5);
    event.data = {{"A", first}, {"B", second}};
    return IdentityOfOne(event);
  };
  EXPECT_NE(event_of("ab", "c"), event_of("a", "bc"));
  EXPECT_NE(event_of("abc", ""), event_of("", "abc"));
  EXPECT_NE(IdentityOfOne(Forwarded(1, "ab")), IdentityOfOne(Forwarded(1, "a")));
}

TEST(EventIdentity, TellsStreamsApartThatAreEqualOneBehindTheOther) {
  const auto identity_of = [](std::vector<Node> first, std::vector<Node> second) {
    const auto stream = [](std::vector<Node> nodes) {
      return support::Value{
          .type = support::kBinaryXml,
          .nested = {{.nodes = std::move(nodes), .header = false, .end_token = false}}};
    };
    const Node event =
        Element("Event", {}, {Slot(0, support::kBinaryXml), Slot(1, support::kBinaryXml)});
    return IdentityOfOne(support::Record{
        .body = support::InstanceFragment(support::MakeTemplate("Two", {event}),
                                          {stream(std::move(first)), stream(std::move(second))})});
  };
  const Node one = support::Text("one");
  const Node two = support::Text("two");
  const Node three = support::Text("three");
  // Tokens that end an element and its start: nothing holds a stream to having them in order.
  const Node ends = support::Raw({0x03, 0x02});
  EXPECT_NE(identity_of({one}, {two, ends, three}), identity_of({one, ends, two}, {three}));
}

TEST(EventIdentity, GoesByTheIdentifierThatTheEventStates) {
  // As a log holds it that was exported: the header counts anew, and has a time of its own.
  const support::Fragment body = support::EventFragment(Logon(5));
  const std::string expected = IdentityOfOne(Logon(5));
  EXPECT_EQ(IdentityOfOne({.id = 1, .time = 77, .body = body}), expected);
  EXPECT_EQ(IdentityOfOne(Forwarded(3, "x")), [] {
    support::Record renumbered = Forwarded(3, "x");
    renumbered.id = 1;
    renumbered.time = 77;
    return IdentityOfOne(renumbered);
  }());
}

TEST(EventIdentity, GoesByTheRecordOfAnEventThatStatesNoIdentifier) {
  const auto record_of = [](std::vector<Node> system, std::uint64_t id, std::uint64_t time) {
    return IdentityOfOne(
        {.id = id,
         .time = time,
         .body = support::InstanceFragment(
             support::MakeTemplate("no id", {Element("Event", {}, std::move(system))}),
             {support::NullValue()})});
  };
  for (const std::vector<Node>& system :
       {std::vector<Node>{Element("Data", {}, {support::Text("1")})},
        std::vector<Node>{Element("EventRecordID", {}, {support::OptionalSlot(0, 0)})},
        std::vector<Node>{Element("EventRecordID", {}, {support::Text("")})}}) {
    EXPECT_EQ(record_of(system, 1, 7), record_of(system, 1, 7));
    EXPECT_NE(record_of(system, 1, 7), record_of(system, 2, 7));
    EXPECT_NE(record_of(system, 1, 7), record_of(system, 1, 8));
  }
}

TEST(EventIdentity, OfARecordThatCannotBeReadIsItsPlaceInItsChunk) {
  const auto damaged = [](std::uint64_t more) {
    EvtxBuilder log;
    log.AddEvent(Logon(1));
    support::Fragment lost = support::EventFragment(Logon(2));
    lost.instance.front().definition_offset = 0xFFF0;
    log.AddRecord({.id = 2, .time = 5, .body = lost});
    for (std::uint64_t id = 3; id < 3 + more; ++id) log.AddEvent(Logon(id));
    return Identities(log.Build()).at(1);
  };
  EXPECT_EQ(damaged(1), damaged(1));
  EXPECT_NE(damaged(1), damaged(2));
}

TEST(EventIdentity, DoesNotDependOnWhatFillsARecordUp) {
  int tried = 0;
  for (std::size_t size = 0; size < 8; ++size) {
    Event event = Logon(1);
    event.data[0] = DataField("TargetUserName", std::string(size, 'x'));
    ByteString file = EvtxBuilder().AddEvent(event).Build();
    const auto expected = Identities(file);
    const std::size_t begin = support::RecordOffset(file, 0, 0);
    const std::size_t end = begin + support::GetU32(file, begin + 4) - 4;
    if (file[end - 1] != 0 || file[end - 2] != 0) continue;
    ++tried;
    for (const int byte : {0x01, 0x0C, 0x0F, 0xFF}) {
      file[end - 1] = static_cast<std::uint8_t>(byte);
      EXPECT_EQ(Identities(file), expected);
    }
  }
  EXPECT_GT(tried, 0);
}

struct Identified {
  Recovery recovery;
  std::string identity;
};

std::vector<Identified> RecoveredIdentities(const ByteString& file) {
  std::vector<Identified> all;
  EvtxDecoder decoder;
  BeginLog(decoder, nullptr, Policy::kComplete);
  RecoveryNotes notes;
  decoder.notes = &notes;
  IdentityRoom room;
  room.key = kKey;
  EvtxHandlers handlers;
  handlers.record = [&](EvtxDecoder& with, DecodedEvent& event) {
    const std::string identity = HexOf(IdentityOf(room, with, event));
    if (IsRecovered(event.recovery)) all.push_back({event.recovery, identity});
  };
  constexpr std::size_t kHeader = support::kEvtxHeaderSize;
  WalkSlots(decoder, Clip(file, kHeader, file.size()), kHeader, handlers);
  decoder.notes = nullptr;
  FinishNotes(notes);
  for (const RecoveryPlace& place : notes.places) {
    RecoverPlace(decoder, notes, Clip(file, place.file_offset, place.size), place, handlers);
  }
  return all;
}

TEST(EventIdentity, OfWhatWasRecoveredIsThatOfTheEventOnlyWhereAllIsProved) {
  EvtxBuilder log;
  log.AddEvent(Logon(1)).AddEvent(Logon(2)).AddEvent(Other(3));
  const ByteString whole = log.Build();
  ByteString file = whole;
  support::ForgetRecords(file, 0, 1);
  const auto live = Identities(whole);
  auto found = RecoveredIdentities(file);
  ASSERT_EQ(found.size(), 2U);
  EXPECT_EQ(found[0].recovery.checked, Checked::kAll);
  EXPECT_EQ(found[0].identity, live[1]);
  EXPECT_EQ(found[1].identity, live[2]);
  // A name of the template that the third one brings along.
  ByteString units;
  support::PutWide(units, u"WKS-OMEGA");
  std::search(file.begin(), file.end(), units.begin(), units.end())[1] = 0xD8;
  found = RecoveredIdentities(file);
  ASSERT_EQ(found.size(), 2U);
  EXPECT_EQ(found[1].recovery.checked, Checked::kNone);
  EXPECT_NE(found[1].identity, live[2]);
  EXPECT_EQ(RecoveredIdentities(file)[1].identity, found[1].identity);
}

// Whatever byte is changed: an event that reads differently is another one.
TEST(EventIdentity, DiffersWhereverTheEventReadsDifferently) {
  EvtxBuilder log;
  log.AddEvent(Logon(1)).AddEvent(Other(2)).AddEvent(Logon(3)).AddRecord(Forwarded(4, "text"));
  const ByteString file = log.Build();
  const std::size_t begin = support::ChunkOffset(0) + 512;
  const std::size_t end = support::ChunkOffset(0) + log.NextRecordOffset();
  const auto expected = Identities(file);
  const auto lines_of = [](const ByteString& bytes) {
    std::vector<std::string> lines;
    std::string text = Streamed(bytes, &RunOptions::event_xml_form);
    for (std::size_t at; (at = text.find('\n')) != std::string::npos; text.erase(0, at + 1)) {
      lines.push_back(text.substr(0, at));
    }
    return lines;
  };
  const auto lines = lines_of(file);
  std::mt19937 random(3);
  std::size_t changed = 0;
  for (std::size_t at = begin; at < end; ++at) {
    ByteString other = file;
    other[at] = static_cast<std::uint8_t>(other[at] ^ (1U << random() % 8));
    const auto identities = Identities(other);
    const auto other_lines = lines_of(other);
    if (identities.size() != expected.size() || other_lines.size() != lines.size()) continue;
    const std::size_t front = lines.size() - expected.size() - 1;  // and one line behind
    for (std::size_t i = 0; i < expected.size(); ++i) {
      if (other_lines[front + i] == lines[front + i]) continue;
      ++changed;
      ASSERT_NE(identities[i], expected[i]) << at << '\n' << other_lines[front + i];
    }
  }
  EXPECT_GT(changed, 1000U);
}

// Random events, shuffled into chunks at random: as many identities as there are events.
TEST(EventIdentity, FindsTheEventsOfShuffledLogs) {
  std::mt19937_64 random(11);
  std::vector<Event> events;
  for (std::uint64_t id = 1; id <= 200; ++id) {
    Event event = random() % 3 == 0 ? Other(id % 40) : Logon(id % 40);
    event.data.emplace_back("Field" + std::to_string(random() % 5), std::to_string(random() % 3));
    events.push_back(event);
  }
  std::map<std::string, std::string> texts;  // of identities: what the event reads
  for (int round = 0; round < 8; ++round) {
    std::shuffle(events.begin(), events.end(), random);
    EvtxBuilder log;
    for (const Event& event : events) {
      if (random() % 20 == 0) log.AddChunk();
      log.AddEvent(event);
    }
    const ByteString file = log.Build();
    const auto identities = Identities(file);
    const RecoveredLog decoded = Recover(file);
    ASSERT_EQ(identities.size(), decoded.live.size());
    for (std::size_t i = 0; i < identities.size(); ++i) {
      std::string text;
      for (const auto& [name, value] : decoded.live[i].values) text += name + "=" + value + ";";
      EXPECT_EQ(texts.emplace(identities[i], text).first->second, text);
    }
  }
  std::map<std::string, std::string> by_text;
  for (const auto& [identity, text] : texts) EXPECT_TRUE(by_text.emplace(text, identity).second);
}

// They are read one by one without what lies behind them; their chunk is the same all the same.
TEST(EventIdentity, LooksOnceAtTheChunkOfRecordsThatAreCut) {
  EvtxBuilder log;
  for (int i = 0; i < 50; ++i) {
    log.AddRecord({.raw_body = ByteString(100, 0x55), .stated_size = 20, .size_copy = 20});
  }
  EvtxDecoder decoder;
  decoder.policy = Policy::kComplete;
  IdentityRoom room;
  room.key = kKey;
  std::size_t records = 0;
  const ByteString chunks = log.BuildChunks();
  EvtxHandlers handlers;
  handlers.record = [&](EvtxDecoder& with, DecodedEvent& event) {
    IdentityOf(room, with, event);
    ++records;
    EXPECT_LT(with.chunk.data.size(), chunks.size());
    ASSERT_TRUE(room.chunk);
    EXPECT_EQ(HexOf(*room.chunk), HexOf(HashBytes(kKey, chunks)));
  };
  WalkSlots(decoder, chunks, support::kEvtxHeaderSize, handlers);
  EXPECT_EQ(records, 50U);
}

}  // namespace
}  // namespace tarnlex
