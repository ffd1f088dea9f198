// Hand-written bytes pin the builder, so that tests built on it stand on solid ground.
#include "tests/support/evtx_builder.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <stdexcept>

namespace tarnlex::support {
namespace {

ByteString Cut(const ByteString& bytes, std::size_t from, std::size_t size) {
  const auto begin = bytes.begin() + static_cast<std::ptrdiff_t>(from);
  return {begin, begin + static_cast<std::ptrdiff_t>(size)};
}

Fragment SmallFragment() {
  return InstanceFragment(
      {.guid = ParseGuid("03020100-0504-0706-0809-0a0b0c0d0e0f"),
       .body = {Element("A", {Attribute("B", Slot(0, kUInt32))}, {OptionalSlot(1, kString)})}},
      {UInt32Value(7), StringValue("x")});
}

TEST(EvtxBuilder, LaysDownTheFirstRecordOfAChunk) {
  EvtxBuilder log;
  log.AddRecord({.id = 9, .time = 0x01D1D94457579618, .body = SmallFragment()});
  const ByteString record = Cut(log.BuildChunks(), 512, 0x90);
  EXPECT_EQ(ToHex(record), ToHex(Hex("2A 2A 00 00 90 00 00 00 09 00 00 00 00 00 00 00"
                                     "18 96 57 57 44 D9 D1 01"
                                     // fragment header, template instance, definition at 0x226
                                     "0F 01 01 00 0C 01 00 01 02 03 26 02 00 00"
                                     // no next definition, GUID, 0x3B bytes
                                     "00 00 00 00 00 01 02 03 04 05 06 07 08 09 0A 0B 0C 0D 0E 0F"
                                     "3B 00 00 00"
                                     // <A> with attributes; its name stands at 0x24D
                                     "0F 01 01 00 41 FF FF 2F 00 00 00 4D 02 00 00"
                                     "00 00 00 00 41 00 01 00 41 00 00 00"
                                     // 0x15 bytes of attributes: B, its name at 0x262, slot 0
                                     "15 00 00 00 06 62 02 00 00 00 00 00 00 42 00 01 00"
                                     "42 00 00 00 0D 00 00 08"
                                     // the text from slot 1, the end
                                     "02 0E 01 00 01 04 00"
                                     // two values
                                     "02 00 00 00 04 00 08 00 02 00 01 00 07 00 00 00 78 00"
                                     "00 90 00 00 00")));
}

TEST(EvtxBuilder, RefersToNamesAndDefinitionsOfEarlierRecords) {
  EvtxBuilder log;
  log.AddRecord({.body = SmallFragment()});
  const std::uint32_t second = log.NextRecordOffset();
  log.AddRecord({.body = SmallFragment()});
  log.AddRecord({.body = ElementsFragment({Element("A", {}, {Text("y")})})});
  const ByteString chunk = log.BuildChunks();
  EXPECT_EQ(ToHex(Cut(chunk, second + 24, 32)),
            ToHex(Hex("0F 01 01 00 0C 01 00 01 02 03 26 02 00 00"
                      "02 00 00 00 04 00 08 00 02 00 01 00 07 00 00 00 78 00")));
  const std::size_t third = second + GetU32(chunk, second + 4);
  EXPECT_EQ(ToHex(Cut(chunk, third + 24, 21)),
            ToHex(Hex("0F 01 01 00 01 0C 00 00 00 4D 02 00 00 02 05 01 01 00 79 00 04")));
}

TEST(EvtxBuilder, ChainsNamesAndDefinitionsOfOneBucket) {
  // The hashes of A and of the letter 64 units further share a bucket.
  EvtxBuilder log;
  log.AddRecord({.body = ElementsFragment({Element("A"), Element("\xC2\x81")})});
  const ByteString chunk = log.BuildChunks();
  const std::uint32_t head = GetU32(chunk, 128 + 4);
  const std::uint32_t next = GetU32(chunk, head);
  EXPECT_EQ(chunk.at(head + 8), 0x81);
  EXPECT_EQ(chunk.at(next + 8), 'A');
  EXPECT_EQ(GetU32(chunk, next), 0U);
}

TEST(EvtxBuilder, HashesNamesAsRealLogsDo) {
  EXPECT_EQ(HashUnits(u"Event") & 0xFFFF, 0x0CBAU);
  EXPECT_EQ(HashUnits(u"EventRecordID") & 0xFFFF, 0x0346U);
}

TEST(EvtxBuilder, FillsTheHeaders) {
  EvtxBuilder log;
  log.AddRecord({.id = 40, .body = SmallFragment()}).AddRecord({.body = SmallFragment()});
  const ByteString file = log.Build();
  ASSERT_EQ(file.size(), 4096U + 65536U);
  EXPECT_EQ(ToHex(Cut(file, 0, 44)),
            ToHex(Hex("45 6C 66 46 69 6C 65 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00"
                      "2A 00 00 00 00 00 00 00 80 00 00 00 01 00 03 00 00 10 01 00")));
  EXPECT_EQ(ToHex(Cut(file, 4096, 52)),
            ToHex(Hex("45 6C 66 43 68 6E 6B 00 01 00 00 00 00 00 00 00 02 00 00 00 00 00 00 00"
                      "28 00 00 00 00 00 00 00 29 00 00 00 00 00 00 00 80 00 00 00"
                      "90 02 00 00 D0 02 00 00")));
  // Over "123456789" this checksum is known to be 0xCBF43926.
  const ByteString digits = {'1', '2', '3', '4', '5', '6', '7', '8', '9'};
  EXPECT_EQ(Crc32(digits, {{0, 4}, {4, 5}}), 0xCBF43926U);
  EXPECT_EQ(GetU32(file, 124), Crc32(file, {{0, 120}}));
  EXPECT_EQ(GetU32(file, 4096 + 52), Crc32(file, {{4096 + 512, 0xD0}}));
  EXPECT_EQ(GetU32(file, 4096 + 124), Crc32(file, {{4096, 120}, {4096 + 128, 384}}));
}

TEST(EvtxBuilder, MarksAnEmptyChunk) {
  EvtxBuilder log;
  log.AddChunk();
  EXPECT_EQ(GetU64(log.BuildChunks(), 16), 0xFFFFFFFFFFFFFFFFU);
}

TEST(EvtxBuilder, BeginsANewChunkWhenARecordDoesNotFit) {
  EvtxBuilder log;
  const Record record = {.body = InstanceFragment(MakeTemplate("t", {Element("A")}),
                                                  {BinaryValue(ByteString(40000, 1))})};
  log.AddRecord(record).AddRecord(record);
  const ByteString file = log.Build();
  ASSERT_EQ(file.size(), ChunkOffset(2));
  EXPECT_EQ(GetU64(file, ChunkOffset(1) + 8), 2U);
  Record large = {.raw_body = ByteString(65536)};
  EXPECT_THROW(log.AddRecord(large), std::length_error);
}

TEST(EvtxBuilder, PlacesDefinitionsOutsideTheRecords) {
  EvtxBuilder log;
  const Template listed = MakeTemplate("listed", {Element("A")});
  const Template hidden = MakeTemplate("hidden", {Element("B")});
  const std::uint32_t first = log.AddTemplate(listed);
  const std::uint32_t second = log.AddTemplate(hidden, false);
  log.AddRecord({.body = InstanceFragment(hidden, {})});
  const ByteString chunk = log.BuildChunks();
  EXPECT_EQ(GetU32(chunk, 512 + 34), second);
  EXPECT_LT(second, first);
  EXPECT_EQ(ToHex(Cut(chunk, first + 4, 16)), ToHex({listed.guid.begin(), listed.guid.end()}));
  std::vector<std::uint32_t> table;
  for (std::size_t i = 0; i < 32; ++i) {
    if (GetU32(chunk, 384 + 4 * i) != 0) table.push_back(GetU32(chunk, 384 + 4 * i));
  }
  EXPECT_EQ(table, std::vector<std::uint32_t>{first});
}

TEST(EvtxBuilder, WritesEveryTokenItHasAName) {
  const auto bytes_of = [](Node node) {
    ChunkImage chunk;
    WriteNodes(chunk, {std::move(node)}, false);
    return ToHex(Cut(chunk.bytes, 512, chunk.bytes.size() - 512));
  };
  EXPECT_EQ(bytes_of(Text("a", true)), "450101006100");
  EXPECT_EQ(bytes_of(Slot(3, kStringArray)), "0d030081");
  EXPECT_EQ(bytes_of(CData("a")), "0701006100");
  EXPECT_EQ(bytes_of(CharacterReference(0x26)), "082600");
  EXPECT_EQ(bytes_of(EntityReference("a")),
            "09050200000000000061000100"
            "61000000");
  EXPECT_EQ(bytes_of(ProcessingTarget("a")),
            "0a050200000000000061000100"
            "61000000");
  EXPECT_EQ(bytes_of(ProcessingData("a")), "0b01006100");
  EXPECT_EQ(bytes_of(Raw({1, 2})), "0102");
}

TEST(EvtxBuilder, WritesValuesInTheirStoredForm) {
  EXPECT_EQ(ToHex(Int16Value(-2).bytes), "feff");
  EXPECT_EQ(ToHex(BooleanValue(true).bytes), "01000000");
  EXPECT_EQ(ToHex(SingleValue(1.5F).bytes), "0000c03f");
  EXPECT_EQ(ToHex(GuidValue("00112233-4455-6677-8899-aabbccddeeff").bytes),
            "33221100554477668899aabbccddeeff");
  EXPECT_EQ(ToHex(SidValue("S-1-5-21-1-500").bytes), "01030000000000051500000001000000f4010000");
  EXPECT_EQ(ToHex(StringArrayValue({"a", ""}).bytes), "610000000000");
  EXPECT_EQ(ToHex(StringValue("\xF0\x9F\x98\x80").bytes), "3dd800de");
  EXPECT_EQ(ToHex(FileTimeValue(Filetime(1970, 1, 1)).bytes), "00803ed5deb19d01");
  EXPECT_EQ(UnixTime(2024, 2, 29, 12, 0, 1), 1709208001U);
}

TEST(Breakers, DamageWhatTheySay) {
  EvtxBuilder log;
  log.AddRecord({.body = SmallFragment()}).AddRecord({.body = SmallFragment()});
  const ByteString good = log.Build();
  ByteString file = good;
  FlipByte(file, 5000);
  EXPECT_NE(file, good);
  FlipByte(file, 5000);
  EXPECT_EQ(file, good);
  SetRecordSize(file, 0, 1, 0);
  EXPECT_EQ(GetU32(file, 4096 + 512 + 0x90 + 4), 0U);
  EXPECT_THROW(RecordOffset(file, 0, 2), std::out_of_range);
  RemoveChunkMagic(file, 0);
  EXPECT_EQ(GetU64(file, 4096), 0U);
  InsertSlot(file, 0, {1});
  EXPECT_EQ(file.size(), good.size() + 65536);
  EXPECT_EQ(GetU32(file, 4096), 1U);
  CutLastChunk(file, 100);
  EXPECT_EQ(file.size(), 4096U + 65536U + 100U);
  Truncate(file, 3);
  EXPECT_EQ(ToHex(file), "456c66");
}

TEST(Breakers, FixChecksumsUndoesAFlippedChecksum) {
  EvtxBuilder log;
  log.AddRecord({.body = SmallFragment()});
  const ByteString good = log.Build();
  ByteString file = good;
  FlipByte(file, 124);
  FlipByte(file, 4096 + 52);
  FlipByte(file, 4096 + 124);
  FixChecksums(file);
  EXPECT_EQ(file, good);
}

}  // namespace
}  // namespace tarnlex::support
