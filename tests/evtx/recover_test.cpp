// Records that a log does not use any more: which are found, and what of them is proved.
#include "evtx/recover.h"

#include <gtest/gtest.h>

#include <algorithm>

#include "tests/evtx/recovering.h"

namespace tarnlex {
namespace {

using support::ByteString;
using support::Element;
using support::EvtxBuilder;
using support::Filetime;
using support::Slot;
using support::Text;

constexpr std::size_t kChunk = support::kEvtxHeaderSize;  // of the only chunk

// A chunk of four logons; the first brings both templates along.
EvtxBuilder Logons() {
  EvtxBuilder log;
  for (const char* user : {"alice", "bob", "carol", "dave"}) {
    log.AddEvent({.event_id = 4624, .data = {{"TargetUserName", user}, {"LogonType", "3"}}});
  }
  return log;
}

// The same with all but the first `kept` forgotten.
ByteString Forgotten(std::size_t kept) {
  ByteString file = Logons().Build();
  support::ForgetRecords(file, 0, kept);
  return file;
}

// Where UTF-16 text stands in a file.
std::size_t Find(const ByteString& file, std::u16string_view text) {
  ByteString units;
  support::PutWide(units, text);
  const auto found = std::search(file.begin(), file.end(), units.begin(), units.end());
  EXPECT_NE(found, file.end());
  return static_cast<std::size_t>(found - file.begin());
}

// Where the definition stands that the instance in the first record's data brings along.
std::size_t NestedDefinition(const ByteString& file) {
  const std::size_t name = Find(file, u"EventData");
  for (std::size_t at = name; at > kChunk; --at) {
    // Offset of a definition that follows right behind it.
    if (support::GetU32(file, at) == at + 4 - kChunk && file[at - 6] == 0x0C) return at + 4;
  }
  ADD_FAILURE();
  return 0;
}

void Zero(ByteString& file, std::size_t at, std::size_t size) {
  support::SetBytes(file, at, ByteString(size));
}

TEST(Recover, GivesWholeRecordsBehindWhatAChunkUses) {
  const RecoveredLog whole = Recover(Logons());
  EXPECT_EQ(Summary(whole), "");
  const RecoveredLog log = Recover(Forgotten(1));
  EXPECT_EQ(log.live.size(), 1U);
  EXPECT_EQ(Summary(log), "slack/all 2 slack/all 3 slack/all 4");
  for (std::size_t i = 0; i < log.found.size(); ++i) {
    EXPECT_EQ(log.found[i].record.values, whole.live[i + 1].values);
    EXPECT_EQ(log.found[i].record.event_id, 4624U);
    EXPECT_EQ(log.found[i].record.time, whole.live[i + 1].time);
    EXPECT_EQ(log.found[i].record.file_offset, whole.live[i + 1].file_offset);
  }
}

TEST(Recover, ARecordThatBringsItsTemplatesAlongIsCheckedAgainstItself) {
  EXPECT_EQ(Summary(Recover(Forgotten(0))), "slack/all 1 slack/all 2 slack/all 3 slack/all 4");
}

// Nothing else tells bytes that were written over a time from the true ones.
TEST(Recover, ARecordWhoseOwnTimeIsNoneTellsNothingButItsHead) {
  for (const std::uint64_t time :
       {std::uint64_t{0}, Filetime(1989, 12, 31), Filetime(2100, 1, 1)}) {
    ByteString file = Forgotten(1);
    const std::size_t record = support::RecordOffset(file, 0, 2);
    const auto begin = file.begin() + static_cast<std::ptrdiff_t>(record);
    const auto own = std::search(begin + 24, file.end(), begin + 16, begin + 24);
    ASSERT_NE(own, file.end());
    support::SetU64(file, static_cast<std::size_t>(own - file.begin()), time);
    const RecoveredLog log = Recover(file);
    EXPECT_EQ(Summary(log), "slack/all 2 slack/none 3 slack/all 4");
    EXPECT_FALSE(log.found.at(1).recovery.has_values);
  }
}

TEST(Recover, WithoutTheTemplateOfItsDataARecordTellsWhatEveryEventHas) {
  ByteString file = Forgotten(0);
  Zero(file, NestedDefinition(file), 24);
  const RecoveredLog log = Recover(file);
  ASSERT_EQ(Summary(log), "slack/none 1 slack/system 2 slack/system 3 slack/system 4");
  const Values& values = log.found[1].record.values;
  EXPECT_EQ(values.at("EventID"), "4624");
  EXPECT_EQ(values.at("Provider Name"), "Microsoft-Windows-Security-Auditing");
  EXPECT_EQ(values.at("Computer"), "WKS-ALPHA");
  EXPECT_EQ(values.at("Data"), "bob");
  EXPECT_EQ(values.at("Data_02"), "3");
  EXPECT_FALSE(values.contains("TargetUserName"));
}

TEST(Recover, WithoutItsOwnTemplateARecordGivesValuesWithoutNames) {
  ByteString file = Forgotten(0);
  Zero(file, kChunk + 512, 600);
  const RecoveredLog log = Recover(file);
  ASSERT_EQ(Summary(log), "slack/none 2 slack/none 3 slack/none 4");
  const DecodedRecord& record = log.found[0].record;
  EXPECT_EQ(record.event_id, 0U);
  EXPECT_EQ(record.time, record.written_time);
  EXPECT_FALSE(record.values.contains("EventID"));
  EXPECT_FALSE(record.values.contains("Provider Name"));
  std::vector<std::string> texts;
  for (const auto& [name, text] : record.values) {
    EXPECT_TRUE(name.starts_with("Values")) << name;
    texts.push_back(text);
  }
  for (const char* text : {"4624", "Microsoft-Windows-Security-Auditing", "Security", "bob"}) {
    EXPECT_TRUE(std::find(texts.begin(), texts.end(), text) != texts.end()) << text;
  }
}

TEST(Recover, ATemplateOfAnotherIdentifierIsNone) {
  ByteString file = Forgotten(1);
  support::SetU32(file, kChunk + 512 + 38 + 4, 0x12345678);
  EXPECT_EQ(Summary(Recover(file)), "slack/none 2 slack/none 3 slack/none 4");
}

TEST(Recover, ANameThatIsNotThatOfItsHashProvesNothing) {
  ByteString file = Forgotten(0);
  file[Find(file, u"Execution")] = 'A';
  EXPECT_EQ(Summary(Recover(file)), "slack/none 1 slack/none 2 slack/none 3 slack/none 4");
  file = Forgotten(0);
  file[Find(file, u"EventData")] = 'A';
  EXPECT_EQ(Summary(Recover(file)), "slack/system 1 slack/system 2 slack/system 3 slack/system 4");
}

TEST(Recover, ANameOfZerosProvesNothingThoughItsHashHolds) {
  ByteString file = Forgotten(0);
  const std::size_t name = Find(file, u"Execution");
  Zero(file, name - 4, 4 + 2 * 10);  // hash, count, characters and the zero behind them
  EXPECT_EQ(Summary(Recover(file)), "slack/none 1 slack/none 2 slack/none 3 slack/none 4");
}

TEST(Recover, ATemplateWhoseTextsAreNoneProvesNothing) {
  for (const int unit : {0x0000, 0x0007, 0xD812, 0xE123, 0x4E2D}) {
    ByteString file = Forgotten(0);
    support::SetU16(file, Find(file, u"WKS-ALPHA") + 2, static_cast<std::uint16_t>(unit));
    EXPECT_EQ(Summary(Recover(file)), "slack/none 1 slack/none 2 slack/none 3 slack/none 4")
        << unit;
    file = Forgotten(0);
    support::SetU16(file, Find(file, u"LogonType") + 2, static_cast<std::uint16_t>(unit));
    EXPECT_EQ(Summary(Recover(file)), "slack/system 1 slack/system 2 slack/system 3 slack/system 4")
        << unit;
  }
}

TEST(Recover, ATemplateWhoseElementsDoNotEndProvesNothing) {
  ByteString file = Forgotten(0);
  const std::size_t definition = NestedDefinition(file);
  const std::uint32_t size = support::GetU32(file, definition + 20);
  const std::size_t last = definition + 24 + size - 2;  // the end of the root, before the stream's
  ASSERT_EQ(file[last], 0x04);
  file[last] = 0x0F;
  EXPECT_EQ(Summary(Recover(file)), "slack/system 1 slack/system 2 slack/system 3 slack/system 4");
}

TEST(Recover, ATemplateThatStatesOtherTypesIsNotThatOfTheValues) {
  EvtxBuilder log = Logons();
  ByteString file = log.Build();
  support::ForgetRecords(file, 0, 0);
  const std::size_t definition = NestedDefinition(file);
  const std::uint32_t size = support::GetU32(file, definition + 20);
  for (std::size_t at = definition + 24; at < definition + 24 + size; ++at) {
    // A substitution: slot 0, a string.
    if (file[at] != 0x0D || support::GetU32(file, at) != 0x0100000D) continue;
    file[at + 3] = support::kGuid;
    break;
  }
  EXPECT_EQ(Summary(Recover(file)), "slack/system 1 slack/system 2 slack/system 3 slack/system 4");
}

TEST(Recover, ARecordWithValuesThatCannotBeTellsItsHeadAlone) {
  ByteString file = Forgotten(0);
  support::SetU16(file, Find(file, u"carol") + 2, 0);
  const RecoveredLog log = Recover(file);
  ASSERT_EQ(Summary(log), "slack/all 1 slack/all 2 slack/none 3 slack/all 4");
  EXPECT_TRUE(log.found[2].record.values.empty());
  EXPECT_EQ(log.found[2].record.time, log.found[2].record.written_time);
}

TEST(Recover, ARecordWhoseValuesDoNotFillItTellsItsHeadAlone) {
  ByteString file = Forgotten(0);
  const std::size_t record = support::RecordOffset(file, 0, 2);
  const std::size_t count = record + 38;
  ASSERT_EQ(support::GetU32(file, count), 18U);
  support::SetU16(file, count + 4 + 4 * 14, 8);  // the provider is said to be shorter than it is
  const RecoveredLog log = Recover(file);
  ASSERT_EQ(Summary(log), "slack/all 1 slack/all 2 slack/none 3 slack/all 4");
  EXPECT_TRUE(log.found[2].record.values.empty());
}

TEST(Recover, TakesWholeHeadsOnly) {
  const auto damaged = [](std::size_t at, std::uint32_t value) {
    ByteString file = Forgotten(0);
    support::SetU32(file, support::RecordOffset(file, 0, 2) + at, value);
    return Summary(Recover(file));
  };
  const std::string others = "slack/all 1 slack/all 2 slack/all 4";
  EXPECT_EQ(damaged(0, 0x2A2B), others);
  EXPECT_EQ(damaged(4, 0), others);
  EXPECT_EQ(damaged(4, 28), others);
  EXPECT_EQ(damaged(4, 0xFFFFFFF8), others);
  ByteString file = Forgotten(0);
  support::SetU32(file, support::RecordOffset(file, 0, 3) - 4, 0);  // the size behind
  EXPECT_EQ(Summary(Recover(file)), others);
}

TEST(Recover, TakesPlausibleHeadsOnly) {
  const auto with = [](std::uint64_t id, std::uint64_t time) {
    ByteString file = Forgotten(0);
    const std::size_t record = support::RecordOffset(file, 0, 2);
    support::SetU64(file, record + 8, id);
    support::SetU64(file, record + 16, time);
    return Recover(file).found.size();
  };
  constexpr std::uint64_t kMost = ~std::uint64_t{0} >> 1;
  const std::uint64_t time = Filetime(2020, 5, 5);
  EXPECT_EQ(with(1, time), 4U);
  EXPECT_EQ(with(kMost, time), 4U);
  EXPECT_EQ(with(0, time), 3U);
  EXPECT_EQ(with(kMost + 1, time), 3U);
  EXPECT_EQ(with(9, Filetime(1990, 1, 1)), 4U);
  EXPECT_EQ(with(9, Filetime(1990, 1, 1) - 1), 3U);
  EXPECT_EQ(with(9, Filetime(2100, 1, 1) - 1), 4U);
  EXPECT_EQ(with(9, Filetime(2100, 1, 1)), 3U);
  EXPECT_EQ(with(9, 0), 3U);
}

TEST(Recover, ACopyOfARecordOfTheLogIsNotGiven) {
  EvtxBuilder log = Logons();
  log.AddChunk();
  for (const char* user : {"alice", "bob", "carol", "dave"}) {
    log.AddEvent({.event_id = 4624, .data = {{"TargetUserName", user}, {"LogonType", "3"}}});
  }
  const ByteString whole = log.Build();
  ByteString file = whole;
  support::ForgetRecords(file, 0, 2);
  // The second chunk has one record of the first one's slack, under its identifier and time.
  const std::size_t copy = support::RecordOffset(whole, 0, 2);
  const std::size_t live = support::RecordOffset(whole, 1, 1);
  support::SetU64(file, live + 8, support::GetU64(whole, copy + 8));
  support::SetU64(file, live + 16, support::GetU64(whole, copy + 16));
  RecoveredLog recovered = Recover(file);
  EXPECT_EQ(Summary(recovered), "slack/all 4");
  EXPECT_EQ(recovered.account.recovered.copies, 1U);
  // Another time is another record.
  support::SetU64(file, live + 16, support::GetU64(whole, copy + 16) + 1);
  recovered = Recover(file);
  EXPECT_EQ(Summary(recovered), "slack/all 3 slack/all 4");
  EXPECT_EQ(recovered.account.recovered.copies, 0U);
}

// A whole record as the value of another.
ByteString WithARecordInside() {
  EvtxBuilder inner;
  inner.AddEvent({.event_id = 1, .id = 77, .data = {{"a", "b"}}});
  const ByteString image = inner.Build();
  const std::size_t begin = support::RecordOffset(image, 0, 0);
  ByteString record(
      image.begin() + static_cast<std::ptrdiff_t>(begin),
      image.begin() + static_cast<std::ptrdiff_t>(begin + support::GetU32(image, begin + 4)));
  // At any place that a record may begin at.
  ByteString value;
  for (int shift = 0; shift < 8; ++shift) {
    support::PutBytes(value, record);
    value.push_back(0);
  }
  EvtxBuilder log;
  log.AddEvent({.event_id = 4624, .data = {{"x", support::BinaryValue(value)}}});
  log.AddEvent({.event_id = 4625, .data = {{"x", support::BinaryValue(value)}}});
  return log.Build();
}

TEST(Recover, ARecordInsideOfAValueIsNone) {
  ByteString file = WithARecordInside();
  EXPECT_EQ(Summary(Recover(file)), "");
  support::ForgetRecords(file, 0, 1);
  EXPECT_EQ(Summary(Recover(file)), "slack/all 2");
  support::RemoveChunkMagic(file, 0);
  EXPECT_EQ(Summary(Recover(file)), "unsigned/all 1 unsigned/all 2");
}

TEST(Recover, SlotsWithoutASignatureAreRecoveredFrom) {
  EvtxBuilder log = Logons();
  log.AddChunk();
  log.AddEvent({.event_id = 1, .data = {{"a", "b"}}});
  ByteString file = log.Build();
  support::RemoveChunkMagic(file, 0);
  const RecoveredLog recovered = Recover(file);
  EXPECT_EQ(recovered.live.size(), 1U);
  EXPECT_EQ(Summary(recovered), "unsigned/all 1 unsigned/all 2 unsigned/all 3 unsigned/all 4");
  EXPECT_EQ(recovered.account.records, 1U);
}

TEST(Recover, WhatLiesBehindTheLastSlotIsRecoveredFrom) {
  EvtxBuilder log = Logons();
  log.AddChunk();
  log.AddEvent({.event_id = 1, .data = {{"a", "b"}}});
  log.AddEvent({.event_id = 1, .data = {{"a", "b"}}});
  ByteString file = log.Build();
  support::CutLastChunk(file, support::RecordOffset(file, 1, 1) - support::ChunkOffset(1) + 100);
  EXPECT_EQ(Summary(Recover(file)), "");  // a chunk that is cut is a chunk
  support::RemoveChunkMagic(file, 1);
  EXPECT_EQ(Summary(Recover(file)), "tail/all 5");
}

TEST(Recover, WhatIsRegainedBehindABreakIsOfTheLog) {
  ByteString file = Logons().Build();
  support::SetRecordSize(file, 0, 1, 0);
  const RecoveredLog log = Recover(file);
  EXPECT_EQ(log.live.size(), 4U);
  EXPECT_EQ(Summary(log), "");
}

TEST(Recover, ElementsWithoutATemplateProveThemselves) {
  const auto event = [](std::string_view text) {
    return support::ElementsFragment(
        {Element("Event", {}, {Element("System", {}, {Element("Channel", {}, {Text(text)})})})});
  };
  EvtxBuilder log;
  log.AddRecord({.body = event("first")});
  log.AddRecord({.body = event("\xE4\xB8\xAD\xE6\x96\x87")});
  ByteString file = log.Build();
  support::ForgetRecords(file, 0, 0);
  RecoveredLog recovered = Recover(file);
  ASSERT_EQ(Summary(recovered), "slack/all 1 slack/all 2");
  EXPECT_EQ(recovered.found[0].record.values, (Values{{"Channel", "first"}}));
  file[Find(file, u"Channel")] = 'A';
  recovered = Recover(file);
  EXPECT_EQ(Summary(recovered), "slack/none 1 slack/none 2");
  EXPECT_TRUE(recovered.found[0].record.values.empty());
}

// An event of a template of its own, whose values are elements with names of their own.
support::Event OfElements(const std::string& first, const std::string& second) {
  support::Instance data;
  data.definition = support::MakeTemplate(
      first + second, {Element("UserData", {},
                               {Element(first, {}, {Slot(0, support::kString)}),
                                Element(second, {}, {Slot(1, support::kString)})})});
  data.values = {support::StringValue("one"), support::StringValue("two")};
  return {.event_id = 7, .event_data = support::InstanceValue(data)};
}

// A chunk that is filled anew with templates of the same shape has other names where a template of
// its old records looks for its own.
TEST(Recover, ANameThatWasWrittenLaterProvesNothing) {
  EvtxBuilder old;
  old.AddEvent(OfElements("Granted", "First"));
  old.AddEvent(OfElements("Granted", "Second"));  // takes "Granted" from the first record
  ByteString file = old.Build();
  EvtxBuilder young;
  young.AddEvent(OfElements("Refused", "First"));
  ByteString over = young.Build();
  const std::size_t end = support::RecordOffset(over, 0, 1);
  ASSERT_EQ(end, support::RecordOffset(file, 0, 1));
  ByteString filled = file;
  std::copy_n(over.begin(), end, filled.begin());
  support::SetU64(filled, end + 8, 900);  // another time than the one of the new record
  const RecoveredLog log = Recover(filled);
  ASSERT_EQ(log.live.size(), 1U);
  ASSERT_EQ(Summary(log), "slack/system 900");
  EXPECT_EQ(log.found[0].record.values.at("Data"), "one");
  EXPECT_FALSE(log.found[0].record.values.contains("Refused"));
  // In the chunk as it was, the name stands where it was written.
  support::ForgetRecords(file, 0, 0);
  EXPECT_EQ(Summary(Recover(file)), "slack/all 1 slack/all 2");
}

TEST(Recover, NamesAcrossAHoleAreOfOneTimeWhereTheRecordsBetweenWentIntoIt) {
  EvtxBuilder old;
  for (const char* second : {"First", "Second", "Third"}) {
    old.AddEvent(OfElements("Granted", second));
  }
  ByteString file = old.Build();
  support::ForgetRecords(file, 0, 0);
  const std::size_t hole = support::RecordOffset(file, 0, 1);
  Zero(file, hole, support::RecordOffset(file, 0, 2) - hole);
  EXPECT_EQ(Summary(Recover(file)), "slack/all 1 slack/all 3");
}

TEST(Recover, CountsByPlaceAndClass) {
  ByteString file = Forgotten(0);
  Zero(file, NestedDefinition(file), 24);
  const RecoveryCounts counts = Recover(file).account.recovered;
  EXPECT_EQ(counts.from, (std::array<std::uint64_t, 5>{0, 4, 0, 0, 0}));
  EXPECT_EQ(counts.checked, (std::array<std::uint64_t, 3>{0, 3, 1}));
}

TEST(Recover, NothingOfItIsKeptForTheLog) {
  // The same chunk twice, one forgotten: its records are copies, and those of the log are whole.
  ByteString file = Logons().Build();
  const ByteString chunk(file.begin() + kChunk, file.end());
  file.insert(file.end(), chunk.begin(), chunk.end());
  support::ForgetRecords(file, 0, 0);
  const RecoveredLog log = Recover(file);
  EXPECT_EQ(log.live.size(), 4U);
  EXPECT_EQ(Summary(log), "");
  EXPECT_EQ(log.account.recovered.copies, 4U);
}

TEST(Recover, ElementsWhoseNamesAreNotProvedAreLeftOut) {
  EvtxBuilder log;
  for (const char* text : {"one", "two"}) {
    const auto data =
        support::ElementsValue({Element("UserData", {}, {Element("Doubtful", {}, {Text(text)})})});
    log.AddEvent({.event_id = 7, .event_data = data});
  }
  ByteString file = log.Build();
  support::ForgetRecords(file, 0, 0);
  Zero(file, Find(file, u"Doubtful") - 4, 2);  // the name's hash
  const RecoveredLog recovered = Recover(file);
  ASSERT_EQ(Summary(recovered), "slack/system 1 slack/system 2");
  for (const Found& found : recovered.found) {
    EXPECT_EQ(found.record.values.at("EventID"), "7");
    EXPECT_FALSE(found.record.values.contains("Doubtful"));
  }
}

}  // namespace
}  // namespace tarnlex
