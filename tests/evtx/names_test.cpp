#include "evtx/names.h"

#include <gtest/gtest.h>

#include "evtx/binary_xml.h"
#include "evtx/evtx_format.h"
#include "tests/support/put_bytes.h"

namespace tarnlex {
namespace {

using support::ByteString;

// next 0x10, hash 0x20, two characters, "ab", a zero unit.
ByteString NameBytes() { return support::Hex("10000000 2000 0200 61006200 0000"); }

TEST(Names, ReadsANameRecord) {
  const ByteString bytes = NameBytes();
  NameRecord record;
  ASSERT_TRUE(ReadNameRecord(bytes, 0, record));
  EXPECT_EQ(record.next, 0x10U);
  EXPECT_EQ(record.hash, 0x20U);
  EXPECT_EQ(record.count, 2U);
  EXPECT_EQ(record.units.size(), 4U);
  EXPECT_TRUE(record.terminated);
}

TEST(Names, AMissingTerminatorIsToldAndDoesNotHideTheName) {
  ByteString bytes = NameBytes();
  bytes[12] = 'c';
  NameRecord record;
  ASSERT_TRUE(ReadNameRecord(bytes, 0, record));
  EXPECT_FALSE(record.terminated);
  bytes.resize(12);
  ASSERT_TRUE(ReadNameRecord(bytes, 0, record));
  EXPECT_FALSE(record.terminated);
}

TEST(Names, ANameThatReachesBehindTheChunkIsNone) {
  const ByteString bytes = NameBytes();
  NameRecord record;
  for (std::size_t size = 0; size < 12; ++size) {
    EXPECT_FALSE(ReadNameRecord(Bytes(bytes).first(size), 0, record)) << size;
  }
  EXPECT_FALSE(ReadNameRecord(bytes, 0xFFFFFFFF, record));
}

TEST(Names, KeepsEveryTextOnce) {
  NameTable table;
  Name* first = InternName(table, "EventID");
  EXPECT_EQ(InternName(table, std::string("Event") + "ID"), first);
  EXPECT_NE(InternName(table, "eventid"), first);
  EXPECT_EQ(first->text, "EventID");
}

TEST(Names, NumbersUnnamedDataFromTheSecondOn) {
  NameTable table;
  EXPECT_EQ(UnnamedDataName(table, 1)->text, "Data");
  EXPECT_EQ(UnnamedDataName(table, 12)->text, "Data_12");
  EXPECT_EQ(UnnamedDataName(table, 2)->text, "Data_02");
  EXPECT_EQ(UnnamedDataName(table, 9)->text, "Data_09");
  EXPECT_EQ(UnnamedDataName(table, 10)->text, "Data_10");
  EXPECT_EQ(UnnamedDataName(table, 100)->text, "Data_100");
}

TEST(Names, AChunkMayNotFillTheTableWithoutBound) {
  NameTable table;
  BeginChunkNames(table);
  const std::string large(kMaxChunkNameText / 2, 'n');
  EXPECT_EQ(InternComputedName(table, large + "1")->text, large + "1");
  EXPECT_EQ(InternComputedName(table, large + "2")->text, "");
  BeginChunkNames(table);
  EXPECT_EQ(InternComputedName(table, large + "2")->text, large + "2");
}

TEST(Names, AreForgottenBetweenChunksWhenTheyHaveBecomeMany) {
  NameTable table;
  BeginChunkNames(table);
  InternName(table, "kept");
  UnnamedDataName(table, 3);
  BeginChunkNames(table);
  EXPECT_EQ(table.generation, 0U);
  EXPECT_TRUE(table.by_text.contains("kept"));
  InternName(table, std::string(kMaxNameTableText + 1, 'n'));
  BeginChunkNames(table);
  EXPECT_EQ(table.generation, 1U);
  EXPECT_TRUE(table.by_text.empty());
  EXPECT_EQ(UnnamedDataName(table, 3)->text, "Data_03");
}

}  // namespace
}  // namespace tarnlex
