#include "reports/carve_image.h"

#include <gtest/gtest.h>

#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <map>
#include <random>
#include <string_view>

#include "tests/app/temp_directory.h"
#include "tests/reports/carving.h"
#include "tests/support/evt_builder.h"

namespace tarnlex {
namespace {

using support::ByteString;
using support::EvtxBuilder;
using Random = std::mt19937_64;

constexpr std::size_t kHeader = support::kEvtxHeaderSize;
constexpr std::size_t kChunk = support::kEvtxChunkSize;

std::size_t Below(Random& random, std::size_t bound) { return random() % bound; }

void PutRandom(Random& random, ByteString& image, std::size_t size) {
  for (; size > 0; --size) image.push_back(static_cast<std::uint8_t>(random()));
}

support::Event SomeEvent(Random& random, const std::string& channel) {
  const std::size_t kind = Below(random, 8);
  support::Event event{.provider = "Provider-" + std::to_string(kind % 4),
                       .event_id = static_cast<std::uint32_t>(100 + kind),
                       .channel = channel};
  for (std::size_t field = 0; field <= kind % 5; ++field) {
    event.data.emplace_back("Field" + std::to_string(kind) + std::to_string(field),
                            std::string(Below(random, 40), static_cast<char>('a' + field)));
  }
  return event;
}

// A log of so many chunks that are filled, each to another height.
ByteString MakeLog(Random& random, std::size_t chunks, const std::string& channel) {
  EvtxBuilder log;
  for (std::size_t i = 0; i < chunks; ++i) {
    log.AddChunk();
    const std::uint32_t end = 2000 + static_cast<std::uint32_t>(Below(random, 58'000));
    while (log.NextRecordOffset() < end) log.AddEvent(SomeEvent(random, channel));
  }
  return log.Build();
}

struct Truth {
  std::map<std::uint64_t, Carved> records;  // by their place in the image
  std::map<std::uint64_t, Carved> cut;      // of which only the head is there for certain
};

// Puts a part of a log into an image, and the records that are whole there into the truth. A log's
// records lie one behind the other: the size in front of each tells where it ends.
void PutPart(const ByteString& log, std::size_t begin, std::size_t end, ByteString& image,
             Truth& truth) {
  for (Carved& record : RecordsOfLog(log)) {
    const std::uint64_t size = support::GetU32(log, record.offset + 4);
    if (record.offset < begin || record.offset + 24 > end) continue;
    const bool whole = record.offset + size <= end;
    record.offset += image.size() - begin;
    (whole ? truth.records : truth.cut).emplace(record.offset, record);
  }
  image.insert(image.end(), log.begin() + static_cast<std::ptrdiff_t>(begin),
               log.begin() + static_cast<std::ptrdiff_t>(end));
}

struct Tally {
  std::map<std::string, std::size_t> given;  // by class
  std::size_t cut = 0;  // whose end is where another record of that size ends by chance
  std::size_t missed = 0;
};

// Each record that is given is one of the truth; what is told of it in full is what it is.
Tally Hold(const CarvedImage& found, const Truth& truth) {
  Tally tally;
  std::map<std::uint64_t, const Carved*> at;
  for (const Carved& record : found.records) {
    EXPECT_TRUE(at.emplace(record.offset, &record).second) << "twice at " << record.offset;
    ++tally.given[record.checked];
    const bool is_cut = truth.cut.contains(record.offset);
    const auto& records = is_cut ? truth.cut : truth.records;
    const auto known = records.find(record.offset);
    if (known == records.end()) {
      ADD_FAILURE() << "no record at " << record.offset;
      continue;
    }
    tally.cut += is_cut;
    EXPECT_EQ(record.id, known->second.id);
    if (record.checked != "all") continue;
    EXPECT_EQ(record.event, known->second.event);
  }
  for (const auto& [offset, record] : truth.records) tally.missed += !at.contains(offset);
  return tally;
}

TEST(CarveImage, FindsLogsAtSectorsAndAtOddPlaces) {
  Random random(11);
  ByteString image;
  Truth truth;
  for (const std::size_t gap : {std::size_t{512}, std::size_t{12'345}, std::size_t{4096 * 3},
                                std::size_t{1}, std::size_t{70'007}}) {
    PutRandom(random, image, gap);
    const ByteString log = MakeLog(random, 3, "Security");
    PutPart(log, 0, log.size(), image, truth);
  }
  const CarvedImage found = Carve(image);
  const Tally tally = Hold(found, truth);
  EXPECT_EQ(tally.missed, 0U);
  EXPECT_EQ(tally.given.at("all"), truth.records.size());
  EXPECT_EQ(found.counts.chunks, 15U);
  EXPECT_EQ(found.counts.sound_chunks, 15U);
  EXPECT_EQ(found.counts.in_chunks, truth.records.size());
  EXPECT_EQ(found.counts.list.size(), 15U);
  EXPECT_EQ(found.counts.searched, image.size());
}

TEST(CarveImage, NamesTheImageAndTheChunk) {
  EvtxBuilder log;
  log.AddEvent({.event_id = 1}).AddEvent({.event_id = 2});
  log.AddChunk().AddEvent({.event_id = 3});
  ByteString image(0x1234);
  support::PutBytes(image, log.BuildChunks());
  const CarvedImage found = Carve(image);
  ASSERT_EQ(found.records.size(), 3U);
  EXPECT_EQ(found.records[0].log, "image@0x000000001234");
  EXPECT_EQ(found.records[1].log, "image@0x000000001234");
  EXPECT_EQ(found.records[2].log, "image@0x000000011234");
  EXPECT_EQ(found.records[0].offset, 0x1234U + 512);
}

TEST(CarveImage, FindsChunksAcrossThePiecesThatItReads) {
  EvtxBuilder log;
  for (int i = 0; i < 40; ++i) log.AddEvent({.event_id = 1});
  const ByteString chunk = log.BuildChunks();
  constexpr std::size_t kPiece = std::size_t{4} << 20;
  for (const std::size_t before :
       {0U, 1U, 511U, 512U, 30'000U, 65'535U, 65'536U, 70'000U, 400'000U}) {
    ByteString image(kPiece - before);
    support::PutBytes(image, chunk);
    image.resize(2 * kPiece + 100'000 - before);
    support::PutBytes(image, chunk);
    EXPECT_EQ(Carve(image).records.size(), 80U) << before;
  }
}

TEST(CarveImage, GivesTheGoodRecordsOfChunksThatAreCut) {
  Random random(12);
  ByteString image;
  Truth truth;
  std::size_t partial = 0;
  for (int i = 0; i < 40; ++i) {
    const ByteString log = MakeLog(random, 1, "System");
    PutPart(log, kHeader, kHeader + 1000 + Below(random, kChunk - 1000), image, truth);
    if (i % 2 == 0) PutRandom(random, image, Below(random, 5000));
  }
  const CarvedImage found = Carve(image);
  const Tally tally = Hold(found, truth);
  EXPECT_EQ(tally.missed, 0U);
  EXPECT_EQ(tally.given.at("all"), truth.records.size());
  EXPECT_EQ(found.counts.chunks, 40U);
  for (const CarvedChunk& chunk : found.counts.list) partial += !chunk.sound;
  EXPECT_GT(partial, 10U);
}

// Records of the file table, as NTFS has them, which name the log.
void PutFileRecords(Random& random, ByteString& image, std::size_t count) {
  constexpr std::size_t kFileRecord = 1024;
  for (; count > 0; --count) {
    const std::size_t end = image.size() + kFileRecord;
    for (const std::string_view text : {"FILE0", "ElfFile", "ElfChnk"}) {
      image.insert(image.end(), text.begin(), text.end());
      PutRandom(random, image, 100);
    }
    support::PutWide(image, u"Security.evtx");
    image.resize(end);
  }
}

// A log whose file was deleted lies in runs of clusters; other files have taken some of these.
TEST(CarveImage, FindsDeletedLogsInTheClustersOfAVolume) {
  constexpr std::size_t kCluster = 4096;
  Random random(17);
  ByteString image(16 * kCluster);
  Truth truth;
  for (int i = 0; i < 30; ++i) {
    const ByteString log = MakeLog(random, 4, "Security");
    for (std::size_t at = 0; at < log.size();) {
      const std::size_t run = std::min((1 + Below(random, 40)) * kCluster, log.size() - at);
      const bool is_overwritten = Below(random, 5) == 0;
      if (is_overwritten) {
        PutRandom(random, image, run);
      } else {
        PutPart(log, at, at + run, image, truth);
      }
      at += run;
      PutFileRecords(random, image, 4 * Below(random, 3));
      image.resize(image.size() + Below(random, 3) * kCluster);
    }
  }
  const Tally tally = Hold(Carve(image), truth);
  EXPECT_EQ(tally.missed, 0U);
  EXPECT_GT(tally.given.at("all"), truth.records.size() / 2);
}

// A real volume, whose files were deleted. Its journal has copies of what tells of them.
TEST(CarveImage, FindsTheLogsThatWereDeletedFromAnExt4Volume) {
  if (std::system("PATH=$PATH:/sbin:/usr/sbin; command -v mkfs.ext4 debugfs >/dev/null") != 0) {
    GTEST_SKIP() << "needs e2fsprogs";
  }
  const TempDirectory directory;
  Random random(18);
  std::string commands;
  std::size_t records = 0;
  for (int i = 0; i < 5; ++i) {
    const std::string name = "log" + std::to_string(i);
    const ByteString log = MakeLog(random, 3, name);
    records += RecordsOfLog(log).size();
    std::ofstream(directory.path + "/" + name, std::ios::binary)
        .write(reinterpret_cast<const char*>(log.data()), static_cast<std::streamsize>(log.size()));
    commands += "write " + name + " " + name + "\n";
  }
  for (int i = 0; i < 5; ++i) commands += "rm log" + std::to_string(i) + "\n";
  std::ofstream(directory.path + "/commands") << commands;
  const std::string make =
      "cd '" + directory.path +
      "' && PATH=$PATH:/sbin:/usr/sbin && mkfs.ext4 -q -F volume 16M >/dev/null && "
      "debugfs -w -f commands volume >/dev/null 2>&1";
  ASSERT_EQ(std::system(make.c_str()), 0);
  const auto image = OpenImage(directory.path + "/volume");
  ASSERT_TRUE(image);
  const CarvedImage found = Carve(*image);
  EXPECT_EQ(found.records.size(), records);
  EXPECT_EQ(found.recovered.checked[static_cast<std::size_t>(Checked::kAll)], records);
}

TEST(CarveImage, TakesNothingInsideOfALiveValueForAChunk) {
  EvtxBuilder inner;
  inner.AddEvent({.event_id = 66});
  ByteString chunk = inner.BuildChunks();
  chunk.resize(8000);
  EvtxBuilder log;
  log.AddEvent({.event_id = 1, .data = {{"Bytes", support::BinaryValue(chunk)}}});
  log.AddEvent({.event_id = 2});
  const CarvedImage found = Carve(log.BuildChunks());
  EXPECT_EQ(found.counts.chunks, 1U);
  ASSERT_EQ(found.records.size(), 2U);
  EXPECT_EQ(found.records[1].id, 2U);
}

TEST(CarveImage, GivesTheSlackOfAChunkButNotItsCopies) {
  EvtxBuilder log;
  for (int i = 0; i < 5; ++i) log.AddEvent({.event_id = 4624, .data = {{"Name", "alice"}}});
  ByteString file = log.Build();
  // The third record stands in the slack too.
  const std::size_t third = support::RecordOffset(file, 0, 2);
  const std::uint32_t size = support::GetU32(file, third + 4);
  const ByteString copy(file.begin() + static_cast<std::ptrdiff_t>(third),
                        file.begin() + static_cast<std::ptrdiff_t>(third + size));
  support::SetBytes(file, kHeader + 40'000, copy);
  support::ForgetRecords(file, 0, 3);
  const CarvedImage found = Carve(file);
  ASSERT_EQ(found.records.size(), 5U);
  for (const Carved& record : found.records) EXPECT_EQ(record.checked, "all");
  EXPECT_EQ(found.recovered.copies, 1U);
}

// Without the chunk's header there are still records that bring their definitions along.
TEST(CarveImage, PutsRecordsOfAChunkWithoutHeaderTogetherByWhatTheyBringAlong) {
  Random random(13);
  ByteString image;
  Truth truth;
  for (int i = 0; i < 20; ++i) {
    PutRandom(random, image, 8 * Below(random, 100));
    const ByteString log = MakeLog(random, 1, "Security");
    PutPart(log, kHeader + 512, log.size(), image, truth);
    PutRandom(random, image, 1000);
    const ByteString other = MakeLog(random, 1, "Security");
    PutPart(other, kHeader + 8192 + Below(random, 4096), other.size(), image, truth);
  }
  const CarvedImage found = Carve(image);
  Tally tally = Hold(found, truth);
  EXPECT_EQ(tally.missed, 0U);
  EXPECT_EQ(found.counts.chunks, 0U);
  EXPECT_EQ(found.counts.outside, truth.records.size());
  std::cout << tally.given["all"] << " all, " << tally.given["system"] << " system, "
            << tally.given["none"] << " none of " << truth.records.size() << "\n";
  EXPECT_GT(tally.given["all"], truth.records.size() / 3);
}

TEST(CarveImage, NeverGivesWhatWasNot) {
  Random random(14);
  std::size_t all = 0;
  std::size_t missed = 0;
  std::size_t cut = 0;
  std::size_t records = 0;
  for (int round = 0; round < 20; ++round) {
    ByteString image;
    Truth truth;
    while (image.size() < 600'000) {
      const ByteString log = MakeLog(random, 1 + Below(random, 2), "Application");
      const std::size_t sectors = log.size() / 512;
      const std::size_t begin = 512 * Below(random, sectors);
      const std::size_t end = begin + 512 * (1 + Below(random, (log.size() - begin) / 512));
      PutPart(log, begin, end, image, truth);
      if (Below(random, 3) == 0) PutRandom(random, image, 512 * Below(random, 40));
    }
    Tally tally = Hold(Carve(image), truth);
    all += tally.given["all"];
    missed += tally.missed;
    cut += tally.cut;
    records += truth.records.size();
  }
  std::cout << records << " records, " << all << " given in full, " << missed << " missed, " << cut
            << " cut\n";
  // What stands inside of a record that ends by chance is not looked at.
  EXPECT_LE(missed, 4 * cut);
  EXPECT_LE(cut, records / 1000);
  EXPECT_GT(all, records / 4);
}

TEST(CarveImage, FindsEvtRecordsInLogsAndByThemselves) {
  support::EvtBuilder log;
  for (int i = 0; i < 6; ++i) log.AddEntry({.event_id = 528, .strings = {"alice", "2"}});
  const ByteString file = log.Build();
  ByteString image(1000);
  support::PutBytes(image, file);
  Random random(15);
  PutRandom(random, image, 333);
  const std::size_t single = image.size();
  image.insert(image.end(), file.begin() + 48,
               file.begin() + 48 + static_cast<std::ptrdiff_t>(support::GetU32(file, 48)));
  const CarvedImage found = Carve(image);
  EXPECT_EQ(found.counts.evt_headers, 1U);
  EXPECT_EQ(found.counts.evt_records, 7U);
  ASSERT_EQ(found.records.size(), 7U);
  EXPECT_EQ(found.records[0].log, "image@0x0000000003e8");
  EXPECT_EQ(found.records[5].log, found.records[0].log);
  EXPECT_EQ(found.records[6].offset, single);
  for (const Carved& record : found.records) EXPECT_EQ(record.checked, "all");
}

TEST(CarveImage, PassesOverWhatCannotBeRead) {
  EvtxBuilder log;
  for (int i = 0; i < 60; ++i) log.AddEvent({.event_id = 1, .data = {{"Name", "alice"}}});
  ByteString image(8192);
  support::PutBytes(image, log.BuildChunks());
  image.resize(300'000);
  ImageFile broken;
  broken.file = InMemory(image);
  broken.file.read = [read = broken.file.read](std::uint64_t offset, std::span<std::uint8_t> to) {
    constexpr std::uint64_t kBad = 20'480;
    if (offset >= kBad && offset < kBad + 4096) return std::size_t{0};
    if (offset < kBad) to = to.first(std::min<std::size_t>(to.size(), kBad - offset));
    return read(offset, to);
  };
  broken.next_stretch = [&](std::uint64_t offset) { return FileStretch{offset, image.size()}; };
  const CarvedImage found = Carve(broken);
  EXPECT_EQ(found.counts.unread, 4096U);
  EXPECT_GT(found.records.size(), 20U);
  EXPECT_LT(found.records.size(), 60U);
}

TEST(CarveImage, PassesOverTheHolesOfASparseFile) {
  const TempDirectory directory;
  const std::string path = directory.path + "/sparse";
  EvtxBuilder log;
  for (int i = 0; i < 10; ++i) log.AddEvent({.event_id = 1});
  const ByteString chunk = log.BuildChunks();
  constexpr std::uint64_t kSize = std::uint64_t{8} << 30;
  std::ofstream(path).close();
  std::filesystem::resize_file(path, kSize);
  std::fstream file(path, std::ios::in | std::ios::out | std::ios::binary);
  for (const std::uint64_t at : {std::uint64_t{5} << 30, kSize - kChunk}) {
    file.seekp(static_cast<std::streamoff>(at));
    file.write(reinterpret_cast<const char*>(chunk.data()),
               static_cast<std::streamsize>(chunk.size()));
  }
  file.close();
  const auto image = OpenImage(path);
  ASSERT_TRUE(image);
  EXPECT_EQ(image->file.size, kSize);
  const CarvedImage found = Carve(*image);
  EXPECT_EQ(found.records.size(), 20U);
  EXPECT_EQ(found.counts.searched + found.counts.holes, kSize);
}

// Each of them has to be looked at, and none leads anywhere.
TEST(CarveImage, EndsSoonOverMillionsOfSignatures) {
  const auto began = std::chrono::steady_clock::now();
  for (const std::string_view mark : {std::string_view("ElfChnk\0", 8),
                                      std::string_view("**\0\0", 4), std::string_view("LfLe", 4)}) {
    ByteString image;
    while (image.size() < (std::size_t{8} << 20))
      image.insert(image.end(), mark.begin(), mark.end());
    EXPECT_TRUE(Carve(image).records.empty());
  }
  // Headers that hold, one for each sector.
  EvtxBuilder log;
  log.AddEvent({.event_id = 1});
  ByteString head = log.BuildChunks();
  head.resize(512);
  ByteString image;
  for (int i = 0; i < 8192; ++i) support::PutBytes(image, head);
  EXPECT_EQ(Carve(image).counts.chunks, 8192U);
  EXPECT_LT(std::chrono::steady_clock::now() - began, std::chrono::seconds(60));
}

// What a chunk's records may take to be told apart they have together.
TEST(CarvedImages, ReadADefinitionOnceForTheRecordsOfAChunk) {
  EvtxBuilder builder;
  for (int i = 0; i < 50; ++i) builder.AddEvent({.event_id = 4624, .data = {{"Name", "alice"}}});
  const ByteString bytes = builder.Build();
  ImageFile image;
  image.file = InMemory(bytes);
  image.next_stretch = [&](std::uint64_t offset) { return FileStretch{offset, bytes.size()}; };
  const RunOptions options = JsonOptions();
  std::string written;
  TextSink out = MakeStringSink(written);
  RunState run{out, MakeRecordOutput(out, out)};
  const LogInfo log{.path = "image"};
  QueryList queries = PlainQueries(log, options);
  LogPass evtx{options, run, log, queries};
  LogPass evt{options, run, log, queries};
  UniqueEvents events;
  BeginUniquePass(evtx.unique, events, false);
  CarveOpenImage(evtx, evt, image);
  EXPECT_EQ(evtx.account.carved.in_chunks, 50U);
  EXPECT_EQ(evtx.account.unique.duplicates, 0U);
  // Every record adds to what all of them have.
  EXPECT_GT(evtx.unique.room.bytes_left, std::uint64_t{1} << 20);
}

}  // namespace
}  // namespace tarnlex
