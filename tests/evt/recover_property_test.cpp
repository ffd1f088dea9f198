// What is recovered of EVT files that were damaged at random, held against what they held before.
// TARNLEX_OVERWRITES says how many are tried.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <iostream>
#include <map>
#include <random>

#include "tests/evt/recovering.h"

namespace tarnlex {
namespace {

using support::ByteString;
using support::EvtBuilder;
using Random = std::mt19937_64;

std::size_t Below(Random& random, std::size_t bound) { return random() % bound; }

std::string Word(Random& random) {
  constexpr std::string_view kLetters = "abcdefghijklmnopqrstuvwxyz-\\: ";
  std::string word;
  for (std::size_t size = Below(random, 60); word.size() < size;) {
    word += kLetters[Below(random, kLetters.size())];
  }
  return word;
}

support::EvtEntry Entry(Random& random) {
  const std::string sources[] = {"Security", "Service Control Manager", "EventLog", "Tcpip"};
  constexpr std::uint16_t kTypes[] = {1, 2, 4, 8, 16};
  support::EvtEntry entry{.event_id = static_cast<std::uint32_t>(500 + Below(random, 100)),
                          .type = kTypes[Below(random, 5)],
                          .category = static_cast<std::uint16_t>(Below(random, 8)),
                          .source = sources[Below(random, 4)]};
  if (Below(random, 2) == 0) entry.sid = "S-1-5-21-1-2-3-" + std::to_string(Below(random, 9999));
  for (std::size_t i = Below(random, 24); i > 0; --i) entry.strings.push_back(Word(random));
  for (std::size_t i = Below(random, 4) * 8; i > 0; --i) {
    entry.data.push_back(static_cast<std::uint8_t>(random()));
  }
  return entry;
}

// A closed log of some 60,000 bytes, whose file is larger.
ByteString MakeLog(Random& random, std::uint32_t first) {
  EvtBuilder log;
  std::size_t size = 0;
  for (std::uint32_t number = first; size < 60'000; ++number) {
    support::EvtEntry entry = Entry(random);
    entry.number = number;
    entry.time = 1'200'000'000 + 60 * number;
    size += EvtEntryBytes(entry).size();
    log.AddEntry(std::move(entry));
  }
  return log.Build({.file_size = 0x10000});
}

struct TrueLog {
  ByteString file;
  std::map<std::uint64_t, FoundEvt> records;  // by their place
};

TrueLog MakeTruth(ByteString file) {
  TrueLog truth;
  for (FoundEvt& record : RecoverEvt(file).live) truth.records.emplace(record.offset, record);
  truth.file = std::move(file);
  return truth;
}

// What is left of a log when it is cleared: an end-of-file record, and the old header's flags.
void Clear(ByteString& file) {
  const ByteString empty = EvtBuilder().Build();
  std::copy(empty.begin(), empty.end(), file.begin());
}

enum class Damage { kCleared, kBegunAnew, kTurned, kSectors, kStretches, kCut };
constexpr std::size_t kDamages = 6;
constexpr std::string_view kNames[] = {"cleared", "begun anew", "turned",
                                       "sectors", "stretches",  "cut"};

// Puts zeros, noise or bytes of another log over a stretch.
void Overwrite(ByteString& file, std::size_t at, std::size_t size, const ByteString& other,
               Random& random) {
  const std::size_t kind = Below(random, 3);
  const std::size_t from = Below(random, 0xF000);
  for (std::size_t i = 0; i < size && at + i < file.size(); ++i) {
    file[at + i] = kind == 0   ? std::uint8_t{0}
                   : kind == 1 ? static_cast<std::uint8_t>(random())
                               : other[(from + i) % other.size()];
  }
}

// The beginning of a younger log, ended behind one of its first records.
void BeginAnew(ByteString& file, const TrueLog& young, Random& random) {
  auto last = young.records.begin();
  std::advance(last, Below(random, young.records.size() / 2));
  const std::uint64_t end = last->first;
  std::copy_n(young.file.begin(), end, file.begin());
  const std::uint32_t place = support::GetU32(young.file, 20);
  std::copy_n(young.file.begin() + place, 40, file.begin() + static_cast<std::ptrdiff_t>(end));
  support::SetU32(file, end + 24, static_cast<std::uint32_t>(end));
  support::SetU32(file, end + 28, last->second.number);
  support::SetU32(file, 36, support::kEvtDirty);
}

// As if the latest records had come round and lay over the oldest ones.
void Turn(ByteString& file, const TrueLog& old, const TrueLog& young, Random& random) {
  BeginAnew(file, young, random);
  const std::size_t end =
      RecoverEvt(file).live.empty() ? support::kEvtHeaderSize : FindEvtRing(WholeEvtLog(file)).end;
  auto oldest = old.records.upper_bound(end + 40 + Below(random, 20'000));
  if (oldest == old.records.end()) return;
  std::fill_n(file.begin() + support::GetU32(old.file, 20), 40, std::uint8_t{0});
  support::SetU32(file, end + 20, static_cast<std::uint32_t>(oldest->first));
  support::SetU32(file, end + 32, oldest->second.number);
  if (oldest->second.number > support::GetU32(file, end + 28)) {
    support::SetU32(file, end + 28, 0x7FFFFFFF);
  }
}

ByteString DamageLog(Damage damage, const TrueLog& old, const TrueLog& young, Random& random) {
  ByteString file = old.file;
  if (damage == Damage::kTurned) {
    Turn(file, old, young, random);
    return file;
  }
  if (damage == Damage::kBegunAnew) {
    BeginAnew(file, young, random);
    return file;
  }
  Clear(file);
  for (std::size_t i = 1 + Below(random, 6); i > 0; --i) {
    if (damage == Damage::kSectors) {
      Overwrite(file, 512 * (1 + Below(random, 118)), 512 * (1 + Below(random, 8)), young.file,
                random);
    }
    if (damage == Damage::kStretches) {
      Overwrite(file, 100 + Below(random, 60'000), 1 + Below(random, 2000), young.file, random);
    }
  }
  if (damage == Damage::kCut) file.resize(600 + Below(random, 60'000));
  return file;
}

struct Tally {
  std::size_t whole = 0;      // recovered, with all of their bytes
  std::size_t hit = 0;        // recovered, though some of their bytes are others
  std::size_t hit_false = 0;  // of these, those that say what never was
  std::size_t missed = 0;     // whole, and not given
  std::size_t lower = 0;      // whole, of class none
  std::size_t marked = 0;     // of the ring, and said to be recovered; or the other way round
};

bool IsWholeAt(const ByteString& file, const TrueLog& truth, const FoundEvt& record) {
  const std::size_t at = record.offset;
  const std::size_t size = support::GetU32(truth.file, at);
  return at + size <= file.size() &&
         std::equal(file.begin() + static_cast<std::ptrdiff_t>(at),
                    file.begin() + static_cast<std::ptrdiff_t>(at + size),
                    truth.file.begin() + static_cast<std::ptrdiff_t>(at));
}

bool SaysTheSame(const FoundEvt& found, const FoundEvt& truth) {
  return found.number == truth.number && found.time == truth.time &&
         (!found.recovery.has_values || found.text == truth.text);
}

// Whether a log had such a record, at any place: bytes of another log may bring a whole one along.
bool SaysWhatWas(const FoundEvt& found, const TrueLog& truth) {
  return std::any_of(truth.records.begin(), truth.records.end(),
                     [&](const auto& known) { return SaysTheSame(found, known.second); });
}

void CheckFound(const ByteString& file, const TrueLog& old, const TrueLog& young,
                const FoundEvt& found, Tally& tally) {
  const auto truth = old.records.find(found.offset);
  if (truth != old.records.end() && IsWholeAt(file, old, truth->second)) {
    ++tally.whole;
    EXPECT_TRUE(SaysTheSame(found, truth->second)) << found.offset;
    tally.lower += found.recovery.checked != Checked::kAll;
  } else {
    ++tally.hit;
    tally.hit_false += !SaysWhatWas(found, old) && !SaysWhatWas(found, young);
  }
  const EvtRing ring = FindEvtRing(WholeEvtLog(file));
  tally.marked += ring.known && IsInRing(ring, found.offset);
}

void CheckMissed(const ByteString& file, const TrueLog& old, const RecoveredEvt& log,
                 Tally& tally) {
  std::vector<std::uint64_t> places;
  for (const FoundEvt& found : log.found) places.push_back(found.offset);
  for (const FoundEvt& record : log.live) places.push_back(record.offset);
  for (const auto& [at, record] : old.records) {
    if (!IsWholeAt(file, old, record)) continue;
    tally.missed += std::find(places.begin(), places.end(), at) == places.end();
  }
}

std::size_t Tries() {
  const char* const given = std::getenv("TARNLEX_OVERWRITES");
  return given == nullptr ? 500 : std::strtoul(given, nullptr, 10);
}

TEST(EvtRecoverProperty, WhatIsGivenOfDamagedLogsIsWhatTheyHeld) {
  Random random(20'061'102);
  std::vector<TrueLog> logs;
  for (std::uint32_t i = 0; i < 8; ++i) logs.push_back(MakeTruth(MakeLog(random, 1 + 5000 * i)));
  std::array<Tally, kDamages> tallies;
  for (std::size_t i = 0; i < Tries(); ++i) {
    const auto damage = static_cast<Damage>(i % kDamages);
    const std::size_t one = Below(random, logs.size());
    const TrueLog& old = logs[one];
    const TrueLog& young = logs[(one + 1 + Below(random, logs.size() - 1)) % logs.size()];
    const ByteString file = DamageLog(damage, old, young, random);
    const RecoveredEvt log = RecoverEvt(file);
    Tally& tally = tallies[i % kDamages];
    for (const FoundEvt& found : log.found) CheckFound(file, old, young, found, tally);
    CheckMissed(file, old, log, tally);
    if (testing::Test::HasFailure()) break;
  }
  for (std::size_t i = 0; i < kDamages; ++i) {
    const Tally& tally = tallies[i];
    std::cout << kNames[i] << ": whole " << tally.whole << ", missed " << tally.missed << ", lower "
              << tally.lower << ", hit " << tally.hit << ", false " << tally.hit_false
              << ", wrongly marked " << tally.marked << '\n';
    EXPECT_GT(tally.whole, 0U);
    EXPECT_EQ(tally.missed, 0U);
    EXPECT_EQ(tally.lower, 0U);
    EXPECT_EQ(tally.marked, 0U);
    // Text in place of as much text leaves a record as good, and rarely a sector has just that.
    const std::size_t allowed = static_cast<Damage>(i) == Damage::kStretches ? 1000
                                : static_cast<Damage>(i) == Damage::kSectors ? 10'000
                                                                             : tally.whole + 1;
    EXPECT_LE(tally.hit_false * allowed, tally.whole);
  }
}

}  // namespace
}  // namespace tarnlex
