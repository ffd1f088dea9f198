#include "evt/record.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "logs/text.h"
#include "tests/support/evt_builder.h"

namespace tarnlex {
namespace {

using support::ByteString;
using support::EvtEntry;

constexpr std::uint32_t kFixed = support::kEvtFixedSize;

std::vector<std::string> StringsOf(EvtRecord& record) {
  CutTexts(record);
  std::vector<std::string> texts;
  for (const Bytes string : record.strings) texts.push_back(Utf16ToUtf8(string));
  return texts;
}

// A record whose bytes behind the fixed part are exactly `units`, with nothing of the log behind.
ByteString RawRecord(const std::u16string& units, std::uint16_t string_count,
                     std::uint32_t string_offset = kFixed, std::uint32_t data_offset = 0) {
  ByteString bytes(kFixed, 0);
  support::PutWide(bytes, units);
  support::SetU32(bytes, 0, static_cast<std::uint32_t>(bytes.size()));
  support::SetU32(bytes, 4, 0x654C664C);
  support::SetU16(bytes, 26, string_count);
  support::SetU32(bytes, 36, string_offset);
  support::SetU32(bytes, 52, data_offset);
  return bytes;
}

std::vector<std::string> StringsIn(const ByteString& bytes) {
  EvtRecord record;
  EXPECT_TRUE(ReadEvtRecord(bytes, 0, record));
  return StringsOf(record);
}

using Texts = std::vector<std::string>;

TEST(EvtRecord, CarriesEveryFieldOfItsFixedPart) {
  const ByteString bytes = support::EvtEntryBytes({.number = 17,
                                                   .time = 1331129109,
                                                   .time_written = 1331129110,
                                                   .event_id = 0x40001770,
                                                   .type = 8,
                                                   .category = 2,
                                                   .reserved = 5,
                                                   .closing_number = 9,
                                                   .source = "Security",
                                                   .computer = "WKS-ÄLPHA",
                                                   .sid = "S-1-5-18",
                                                   .strings = {"alice", "", "tail"},
                                                   .data = {1, 2, 3}});
  EvtRecord record;
  ASSERT_TRUE(ReadEvtRecord(bytes, 0, record));
  EXPECT_EQ(record.length, bytes.size());
  EXPECT_EQ(record.record_number, 17U);
  EXPECT_EQ(record.time_generated, 1331129109U);
  EXPECT_EQ(record.time_written, 1331129110U);
  EXPECT_EQ(record.event_code, 0x40001770U);
  EXPECT_EQ(record.event_id, 6000U);
  EXPECT_EQ(record.event_type, 8U);
  EXPECT_EQ(record.string_count, 3U);
  EXPECT_EQ(record.category, 2U);
  EXPECT_EQ(record.flags, 5U);
  EXPECT_EQ(record.closing_record, 9U);
  EXPECT_EQ(record.filetime, support::Filetime(2012, 3, 7, 14, 5, 9));
  EXPECT_EQ(record.sid.size(), 12U);
  EXPECT_EQ(ByteString(record.data.begin(), record.data.end()), (ByteString{1, 2, 3}));
  EXPECT_EQ(StringsOf(record), (Texts{"alice", "", "tail"}));
  EXPECT_EQ(Utf16ToUtf8(record.source_name), "Security");
  EXPECT_EQ(Utf16ToUtf8(record.computer_name), "WKS-ÄLPHA");
}

TEST(EvtRecord, CountsTimeAsUnsignedSeconds) {
  EvtRecord record;
  ASSERT_TRUE(ReadEvtRecord(support::EvtEntryBytes({.time = 0xFFFFFFFF}), 0, record));
  EXPECT_EQ(record.filetime, support::Filetime(2106, 2, 7, 6, 28, 15));
  ASSERT_TRUE(ReadEvtRecord(support::EvtEntryBytes({.time = 0}), 0, record));
  EXPECT_EQ(record.filetime, 0U);
}

TEST(EvtRecord, LeavesNothingOfTheRecordBefore) {
  EvtRecord record;
  const ByteString full =
      support::EvtEntryBytes({.sid = "S-1-5-18", .strings = {"alice"}, .data = {1}});
  ASSERT_TRUE(ReadEvtRecord(full, 0, record));
  CutTexts(record);
  const ByteString bare = RawRecord(u"", 0);
  ASSERT_TRUE(ReadEvtRecord(bare, 0, record));
  EXPECT_TRUE(record.sid.empty());
  EXPECT_TRUE(record.data.empty());
  EXPECT_TRUE(record.source_name.empty());
  EXPECT_TRUE(StringsOf(record).empty());
}

TEST(EvtRecord, IgnoresStringsThatBeginBehindTheRecord) {
  EvtEntry entry{.string_count = 3};
  const auto length = static_cast<std::uint32_t>(support::EvtEntryBytes(entry).size());
  entry.string_offset = length;
  EXPECT_TRUE(StringsIn(support::EvtEntryBytes(entry)).empty());
  entry.string_offset = 0xFFFFFFF0;
  EXPECT_TRUE(StringsIn(support::EvtEntryBytes(entry)).empty());
}

TEST(EvtRecord, IgnoresFieldsThatReachOutOfTheRecord) {
  EvtRecord record;
  const ByteString bytes = support::EvtEntryBytes({.sid = "S-1-5-18",
                                                   .strings = {"kept"},
                                                   .data = {1, 2, 3, 4},
                                                   .sid_length = 0xFFFFFFFF,
                                                   .data_length = 0xFFFFFFF0});
  ASSERT_TRUE(ReadEvtRecord(bytes, 0, record));
  EXPECT_TRUE(record.sid.empty());
  EXPECT_TRUE(record.data.empty());
  EXPECT_EQ(StringsOf(record), (Texts{"kept"}));
}

TEST(EvtRecord, HasNoNamesWhenItsDataLieInTheFixedPart) {
  for (const std::uint32_t offset : {0U, 55U, 56U, 0x80000000U}) {
    EvtRecord record;
    const ByteString bytes = support::EvtEntryBytes({.strings = {"a"}, .data_offset = offset});
    ASSERT_TRUE(ReadEvtRecord(bytes, 0, record));
    CutTexts(record);
    EXPECT_TRUE(record.source_name.empty()) << offset;
    EXPECT_TRUE(record.computer_name.empty()) << offset;
  }
  EvtRecord record;
  const ByteString bytes = support::EvtEntryBytes({.data_offset = 57});
  ASSERT_TRUE(ReadEvtRecord(bytes, 0, record));
  CutTexts(record);
  EXPECT_EQ(Utf16ToUtf8(record.source_name), "Security");
}

TEST(EvtRecord, StepsOverEmptyStringsOneUnitAtATime) {
  const std::u16string units(u"\0\0ab\0", 5);
  EXPECT_EQ(StringsIn(RawRecord(units, 3)), (Texts{"", "", "ab"}));
}

// What is left of the record shrinks by the texts alone, so the last text may lie behind the place
// where counting terminators would have stopped.
TEST(EvtRecord, DoesNotCountTerminatorsAgainstTheRecord) {
  const std::u16string units(u"a\0b\0c\0", 6);
  EXPECT_EQ(StringsIn(RawRecord(units, 6)), (Texts{"a", "b", "c", "", "", ""}));
}

TEST(EvtRecord, ReadsAtMostHalfOfTheBytesThatAreLeft) {
  ByteString bytes = RawRecord(u"abcdefgh", 2);
  support::SetU32(bytes, 0, kFixed + 5);  // two units and a half belong to the record
  // Without terminator nothing is stepped over but one unit.
  EXPECT_EQ(StringsIn(bytes), (Texts{"ab", "bc"}));
}

TEST(EvtRecord, GivesAnEmptyStringForTheLastSingleByte) {
  ByteString bytes = RawRecord(std::u16string(u"ab\0", 3), 1);
  support::SetU32(bytes, 0, kFixed + 1);
  EXPECT_EQ(StringsIn(bytes), (Texts{""}));
}

TEST(EvtRecord, ReadsOnBehindItsEndIntoTheLog) {
  ByteString bytes = RawRecord(std::u16string(u"abc\0def\0", 8), 2);
  support::SetU32(bytes, 0, kFixed + 8);  // ends behind the first string's terminator
  // Two bytes are left after "abc" (its terminator is not counted), so one unit is read.
  EXPECT_EQ(StringsIn(bytes), (Texts{"abc", "d"}));
}

TEST(EvtRecord, MeasuresTextsOfFewerThan512Units) {
  for (const std::size_t length : {510U, 511U, 512U, 513U, 600U}) {
    const std::u16string text(length, u'x');
    const std::u16string units = text + std::u16string(1, u'\0') + u"next" + u'\0';
    const Texts strings = StringsIn(RawRecord(units, 2));
    ASSERT_EQ(strings.size(), 2U);
    EXPECT_EQ(strings[0], std::string(length, 'x'));
    // From 512 units on the terminator is not seen; the next string begins one unit later.
    EXPECT_EQ(strings[1], length < 512 ? "next" : std::string(length - 1, 'x')) << length;
  }
}

TEST(EvtRecord, StepsOverTextsOfAnyLengthUnderTheCompletePolicy) {
  for (const std::size_t length : {0U, 511U, 512U, 600U, 40'000U}) {
    const std::u16string text(length, u'x');
    const ByteString bytes = RawRecord(text + u'\0' + u"next" + u'\0' + u"last" + u'\0', 3);
    EvtRecord record;
    record.structure.policy = Policy::kComplete;
    ASSERT_TRUE(ReadEvtRecord(bytes, 0, record));
    CutTexts(record);
    EXPECT_EQ(StringsOf(record), (Texts{std::string(length, 'x'), "next", "last"})) << length;
  }
}

// There is no other text behind it.
TEST(EvtRecord, GivesATextWithoutTerminatorOnceUnderTheCompletePolicy) {
  const ByteString bytes = RawRecord(u"abc", 3);
  EvtRecord record;
  record.structure.policy = Policy::kComplete;
  ASSERT_TRUE(ReadEvtRecord(bytes, 0, record));
  CutTexts(record);
  EXPECT_EQ(StringsOf(record), (Texts{"abc"}));
}

TEST(EvtRecord, TakesATextWithoutTerminatorToTheEndOfTheLog) {
  EXPECT_EQ(StringsIn(RawRecord(u"abc", 1)), (Texts{"abc"}));
  EXPECT_EQ(StringsIn(RawRecord(u"abc", 3)), (Texts{"abc", "bc", "c"}));
}

TEST(EvtRecord, FindsTheComputerNameOneUnitOnWhenTheSourceNameIsTooLong) {
  const std::u16string units =
      std::u16string(520, u's') + std::u16string(1, u'\0') + u"host" + u'\0';
  EvtRecord record;
  const ByteString bytes = RawRecord(units, 0, kFixed, 57);
  ASSERT_TRUE(ReadEvtRecord(bytes, 0, record));
  CutTexts(record);
  EXPECT_EQ(Utf16ToUtf8(record.source_name), std::string(520, 's'));
  EXPECT_EQ(Utf16ToUtf8(record.computer_name), std::string(500, 's'));
}

TEST(EvtRecord, ReadsTheComputerNameWithoutRegardToTheRecordsEnd) {
  ByteString bytes = RawRecord(std::u16string(u"src\0computer\0", 13), 0, kFixed, 57);
  support::SetU32(bytes, 0, kFixed + 8);
  EvtRecord record;
  ASSERT_TRUE(ReadEvtRecord(bytes, 0, record));
  CutTexts(record);
  EXPECT_EQ(Utf16ToUtf8(record.source_name), "src");
  EXPECT_EQ(Utf16ToUtf8(record.computer_name), "computer");
}

TEST(EvtRecord, CutsTheSourceNameAtTheRecordsEnd) {
  ByteString bytes = RawRecord(std::u16string(u"source\0x\0", 9), 0, kFixed, 57);
  support::SetU32(bytes, 0, kFixed + 6);
  EvtRecord record;
  ASSERT_TRUE(ReadEvtRecord(bytes, 0, record));
  CutTexts(record);
  EXPECT_EQ(Utf16ToUtf8(record.source_name), "sou");
  EXPECT_EQ(Utf16ToUtf8(record.computer_name), "x");
}

TEST(EvtRecord, WorksAtOddOffsets) {
  ByteString bytes = {0xAA};
  support::PutBytes(bytes, support::EvtEntryBytes({.strings = {"odd"}}));
  EvtRecord record;
  ASSERT_TRUE(ReadEvtRecord(bytes, 1, record));
  EXPECT_EQ(StringsOf(record), (Texts{"odd"}));
}

TEST(EvtRecord, BoundsTheTextOfOneRecord) {
  // No terminator within reach: string N is all that is left from unit N on.
  const std::u16string units(30'000, u'\u20AC');  // three bytes of UTF-8 each
  EvtRecord record;
  const ByteString bytes = RawRecord(units, 0xFFFF);
  ASSERT_TRUE(ReadEvtRecord(bytes, 0, record));
  CutTexts(record);
  std::uint64_t total = 0;
  for (const Bytes string : record.strings) total += string.size() / 2 * 3;
  EXPECT_LE(total, std::uint64_t{16} << 20);
  EXPECT_GT(total + 90'000, std::uint64_t{16} << 20);  // one more would not have fitted
}

TEST(EvtRecord, GivesAsManyStringsAsItStates) {
  ByteString bytes = RawRecord(std::u16string(2, u'\0'), 0xFFFF);
  bytes.resize(bytes.size() + 1000);  // zeros behind the record, and nothing behind those
  EvtRecord record;
  ASSERT_TRUE(ReadEvtRecord(bytes, 0, record));
  CutTexts(record);
  EXPECT_EQ(record.strings.size(), 0xFFFFU);
  EXPECT_EQ(record.cut_records, 0U);
}

TEST(EvtRecord, SharesOutWhatManyRecordsClaimBeyondTheirLength) {
  const ByteString bytes = RawRecord(std::u16string(2, u'\0'), 0xFFFF);
  const std::size_t share = bytes.size() / kEvtBytesPerString;
  EvtRecord record;
  for (std::size_t i = 0; i < 3; ++i) {
    ASSERT_TRUE(ReadEvtRecord(bytes, 0, record));
    CutTexts(record);
    EXPECT_EQ(record.cut_records, i);
  }
  // Its own two, its share behind its end, and what has come back since.
  EXPECT_EQ(record.strings.size(), 2 + share + bytes.size() / kEvtBytesPerStringBack);
}

// Tens of thousands of short strings are what a busy service writes.
TEST(EvtRecord, KeepsAllStringsInsideItselfWhateverTheOthersCost) {
  const ByteString bytes = support::EvtEntryBytes({.event_id = 1,
                                                   .source = "S",
                                                   .computer = "W",
                                                   .strings = std::vector<std::string>(16, "-"),
                                                   .data_offset = 57});
  EvtRecord record;
  for (int i = 0; i < 60'000; ++i) {
    ASSERT_TRUE(ReadEvtRecord(bytes, 0, record));
    CutTexts(record);
    ASSERT_EQ(StringsOf(record), Texts(16, "-")) << "record " << i;
  }
  EXPECT_EQ(record.cut_records, 0U);
}

// A text of 512 units and more is not stepped over: the strings behind it begin inside of it until
// its end is near. What follows then is the record's own again.
TEST(EvtRecord, KeepsItsOwnStringsBehindTextsThatItStatesAgain) {
  const std::u16string text = std::u16string(30'000, u'x') + u'\0' + u"own" + u'\0';
  const ByteString bytes = RawRecord(text, 0xFFFF);
  EvtRecord record;
  for (std::uint64_t i = 1; i <= 3; ++i) {
    ASSERT_TRUE(ReadEvtRecord(bytes, 0, record));
    CutTexts(record);
    EXPECT_EQ(record.cut_records, i);
    const Texts strings = StringsOf(record);
    ASSERT_GT(strings.size(), 29'490U);
    EXPECT_EQ(strings.front(), std::string(30'000, 'x'));
    EXPECT_EQ(strings[29'000], "");
    EXPECT_EQ(strings[29'490], "own");
  }
}

TEST(EvtRecord, ReturnsToTheWholeBoundBehindRecordsThatNeedLess) {
  const ByteString claims = RawRecord(std::u16string(2, u'\0'), 0xFFFF);
  const ByteString plain = RawRecord(std::u16string(1'100'000, u'x'), 1);
  EvtRecord record;
  for (const ByteString& bytes : {claims, plain, claims}) {
    ASSERT_TRUE(ReadEvtRecord(bytes, 0, record));
    CutTexts(record);
  }
  EXPECT_EQ(record.strings.size(), 0xFFFFU);
  EXPECT_EQ(record.cut_records, 0U);
}

TEST(EvtRecord, SharesOutWhatManyRecordsHaveOfTextBeyondTheirLength) {
  const ByteString bytes = RawRecord(std::u16string(20'000, u'\u20AC'), 0xFFFF);
  EvtRecord record;
  std::uint64_t total = 0;
  for (std::uint64_t i = 1; i <= 3; ++i) {
    ASSERT_TRUE(ReadEvtRecord(bytes, 0, record));
    CutTexts(record);
    total = 0;
    for (const Bytes string : record.strings) total += string.size() / 2 * 3;
    EXPECT_EQ(record.cut_records, i);
  }
  // The last record has its own text, its share and what has come back by its own length.
  EXPECT_LE(total, (kEvtTextPerByte + kEvtTextBackPerByte) * bytes.size() + 60'000 + 60'000);
  EXPECT_GT(total + 60'000, (kEvtTextPerByte + kEvtTextBackPerByte) * bytes.size());
}

}  // namespace
}  // namespace tarnlex
