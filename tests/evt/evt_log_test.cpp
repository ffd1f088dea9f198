#include "evt/evt_log.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>

#include "evt/walk.h"
#include "tests/support/evt_builder.h"

namespace tarnlex {
namespace {

using support::ByteString;

// A file over bytes that counts what is read of it.
struct CountedFile {
  const ByteString& bytes;
  std::uint64_t read = 0;
  std::uint64_t most = 0;
  InputFile Open() {
    InputFile file;
    file.size = bytes.size();
    file.read = [this](std::uint64_t offset, std::span<std::uint8_t> to) {
      const Bytes part = Clip(bytes, offset, to.size());
      std::copy(part.begin(), part.end(), to.begin());
      read += part.size();
      most = std::max<std::uint64_t>(most, part.size());
      return part.size();
    };
    return file;
  }
};

// Everything that a walk tells of its records, as one text.
std::string Told(EvtCursor& cursor) {
  std::string told;
  EvtRecord record;
  const auto add = [&told](Bytes bytes) {
    told.append(reinterpret_cast<const char*>(bytes.data()), bytes.size()).append("|");
  };
  while (NextEvtRecord(cursor, record)) {
    CutTexts(record);
    told += std::to_string(record.offset) + ":" + std::to_string(record.record_number) + "|";
    add(record.source_name);
    add(record.computer_name);
    add(record.sid);
    for (const Bytes string : record.strings) add(string);
  }
  const EvtAccount& account = cursor.account;
  return told + std::to_string(account.records) + " " + std::to_string(account.end_marks) + " " +
         std::to_string(account.skipped_bytes) + " " + std::to_string(account.unwalked_bytes) +
         (account.torn_record ? " torn at " + std::to_string(account.torn_offset) : "");
}

void ExpectSameThroughWindow(const ByteString& log) {
  EvtCursor whole;
  EvtCursor windowed;
  CountedFile counted{log};
  const InputFile file = counted.Open();
  ASSERT_TRUE(BeginEvtWalk(log, whole));
  ASSERT_TRUE(BeginEvtFileWalk(file, windowed));
  EXPECT_TRUE(Told(whole) == Told(windowed));
}

TEST(EvtWindow, GivesWhatTheWholeLogGives) {
  support::EvtBuilder log;
  for (int i = 0; i < 9000; ++i) {
    log.AddEntry({.event_id = 528,
                  .sid = "S-1-5-18",
                  .strings = {std::string(static_cast<std::size_t>(i % 700), 'a'), "", "b"}});
    if (i % 100 == 0) log.AddRaw(ByteString(static_cast<std::size_t>(i), 0x11));
  }
  const ByteString file = log.Build();
  ASSERT_GT(file.size(), std::size_t{5} << 20);
  ExpectSameThroughWindow(file);
}

TEST(EvtWindow, GivesTheTextsOfRecordsLargerThanTheWindow) {
  support::EvtBuilder log;
  log.AddEntry({.event_id = 1, .strings = {std::string(3 << 20, 'x'), "behind", "last"}});
  // Offsets that lead far into the record, and texts that are read past its end.
  ByteString far = support::EvtEntryBytes({.event_id = 2, .sid = "S-1-5-18"});
  far.resize(9 << 20, 'y');
  support::SetU32(far, 0, static_cast<std::uint32_t>(far.size()));
  support::SetU16(far, 26, 5);
  support::SetU32(far, 36, (9 << 20) - 40);
  log.AddRaw(far);
  log.AddEntry({.event_id = 3, .strings = {"end"}});
  ExpectSameThroughWindow(log.Build());
}

TEST(EvtWindow, ReadsNoByteOftenAndNoBlockLarge) {
  support::EvtBuilder log;
  for (int i = 0; i < 80'000; ++i) log.AddEntry({.event_id = 1, .strings = {"alice"}});
  const ByteString file = log.Build();
  ASSERT_GT(file.size(), std::size_t{8} << 20);
  CountedFile counted{file};
  const InputFile input = counted.Open();
  EvtCursor cursor;
  EvtRecord record;
  ASSERT_TRUE(BeginEvtFileWalk(input, cursor));
  while (NextEvtRecord(cursor, record)) CutTexts(record);
  EXPECT_EQ(cursor.account.records, 80'000U);
  EXPECT_LT(counted.read, file.size() + file.size() / 4);
  EXPECT_LE(counted.most, std::uint64_t{4} << 20);
}

TEST(EvtWindow, EndsWhereAShrunkenFileEnds) {
  support::EvtBuilder log;
  for (int i = 0; i < 50; ++i) log.AddEntry({.event_id = 1});
  ByteString file = log.Build();
  CountedFile counted{file};
  const InputFile input = counted.Open();
  file.resize(file.size() / 2);
  EvtCursor cursor;
  EvtRecord record;
  ASSERT_TRUE(BeginEvtFileWalk(input, cursor));
  while (NextEvtRecord(cursor, record)) CutTexts(record);
  EXPECT_GT(cursor.account.records, 20U);
  EXPECT_LT(cursor.account.records, 30U);
}

}  // namespace
}  // namespace tarnlex
