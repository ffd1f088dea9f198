// What is recovered of chunks that were damaged at random, held against what they held before.
// TARNLEX_OVERWRITES says how many are tried.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <iostream>
#include <random>

#include "evtx/binary_xml.h"
#include "tests/evtx/recovering.h"

namespace tarnlex {
namespace {

using support::ByteString;
using support::Element;
using support::EvtxBuilder;
using support::Slot;
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

support::Event UserDataEvent(std::size_t kind, Random& random) {
  const std::string names[] = {"Granted", "Refused", "Begun", "Ended", "First", "Final"};
  support::Instance data;
  std::vector<support::Node> elements;
  for (std::uint16_t i = 0; i < 3; ++i) {
    elements.push_back(Element(names[(kind + i) % 6], {}, {Slot(i, support::kString)}));
    data.values.push_back(support::StringValue(Word(random)));
  }
  data.definition = support::MakeTemplate("user" + std::to_string(kind % 6),
                                          {Element("UserData", {}, std::move(elements))});
  return {.provider = "Provider-" + std::to_string(kind),
          .event_id = static_cast<std::uint32_t>(200 + kind),
          .event_data = support::InstanceValue(std::move(data))};
}

support::Event NamedEvent(std::size_t kind, Random& random) {
  support::Event event{.provider = "Provider-" + std::to_string(kind % 4),
                       .event_id = static_cast<std::uint32_t>(100 + kind),
                       .computer = kind % 3 == 0 ? "WKS-ALPHA" : "WKS-OMEGA"};
  for (std::size_t field = 0; field <= kind % 5; ++field) {
    event.data.emplace_back("Field" + std::to_string(kind) + std::to_string(field), Word(random));
  }
  event.data.emplace_back("Sid", support::SidValue("S-1-5-21-1-2-3-500"));
  event.data.emplace_back("Number", support::UInt32Value(static_cast<std::uint32_t>(random())));
  return event;
}

// A log of one chunk of records of a dozen kinds.
ByteString MakeLog(Random& random, std::uint64_t first_id) {
  EvtxBuilder log;
  std::uint64_t id = first_id;
  while (log.NextRecordOffset() < 60'000) {
    const std::size_t kind = Below(random, 12);
    support::Event event = kind < 8 ? NamedEvent(kind, random) : UserDataEvent(kind, random);
    event.id = id;
    event.time = support::Filetime(2020, 1, 1) + id * 10'000'000;
    ++id;
    log.AddEvent(std::move(event));
  }
  return log.Build();
}

using Range = std::pair<std::size_t, std::size_t>;  // begin and end in the file

// The bytes that an instance's names rest on.
void AddUsed(const ByteString& file, std::size_t token, std::vector<Range>& used) {
  constexpr std::size_t kChunk = support::kEvtxHeaderSize;
  const Bytes chunk = Bytes(file).subspan(kChunk);
  const std::uint32_t definition = support::GetU32(file, token + 6);
  const std::uint32_t begin = definition + 24;
  const std::uint32_t end = begin + support::GetU32(file, kChunk + definition + 20);
  used.emplace_back(kChunk + definition + 4, kChunk + end);
  Token read;
  for (std::uint32_t at = FirstToken(chunk, begin, end); at < end; at = read.end) {
    ASSERT_TRUE(ReadToken(chunk, at, end, {true, false, Policy::kComplete}, read));
    if (!read.has_name) continue;
    used.emplace_back(kChunk + read.name_offset + 4,
                      kChunk + read.name_offset + 10 + read.name.units.size());
  }
}

struct TrueRecord {
  DecodedRecord record;
  std::size_t size = 0;
  std::vector<Range> own;     // what its own names rest on
  std::vector<Range> nested;  // what those of its data rest on
};

struct TrueLog {
  ByteString file;
  std::map<std::uint64_t, TrueRecord> records;  // by their place
};

// In the built logs the data stand behind all other values, and end the record.
std::size_t NestedToken(const ByteString& file, const TrueRecord& record) {
  const std::size_t begin = record.record.file_offset + 24;
  for (std::size_t at = record.record.file_offset + record.size - 14; at > begin + 4; --at) {
    if (support::GetU32(file, at - 4) == 0x0001010F && file[at] == 0x0C && file[at + 1] == 1) {
      return at;
    }
  }
  ADD_FAILURE();
  return begin + 4;
}

TrueLog MakeTruth(ByteString file) {
  TrueLog truth;
  for (const DecodedRecord& record : Recover(file).live) {
    TrueRecord known{record, support::GetU32(file, record.file_offset + 4), {}, {}};
    AddUsed(file, record.file_offset + 28, known.own);
    AddUsed(file, NestedToken(file, known), known.nested);
    truth.records.emplace(record.file_offset, std::move(known));
  }
  truth.file = std::move(file);
  return truth;
}

bool IsIntact(const ByteString& file, const TrueLog& truth, Range range) {
  return range.second <= file.size() &&
         std::equal(file.begin() + static_cast<std::ptrdiff_t>(range.first),
                    file.begin() + static_cast<std::ptrdiff_t>(range.second),
                    truth.file.begin() + static_cast<std::ptrdiff_t>(range.first));
}

bool AreIntact(const ByteString& file, const TrueLog& truth, const std::vector<Range>& ranges) {
  return std::all_of(ranges.begin(), ranges.end(),
                     [&](const Range& range) { return IsIntact(file, truth, range); });
}

// Whether a record says nothing but what the true one says.
bool IsTrue(const Found& found, const DecodedRecord& truth) {
  const DecodedRecord& given = found.record;
  if (given.record_id != truth.record_id || given.written_time != truth.written_time) return false;
  if (found.recovery.checked == Checked::kAll) return given.values == truth.values;
  std::vector<std::string> left;
  for (const auto& [name, text] : truth.values) left.push_back(text);
  return std::all_of(given.values.begin(), given.values.end(), [&](const auto& value) {
    const bool unnamed = value.first.starts_with("Data") || value.first.starts_with("Values");
    const bool named_so = found.recovery.checked == Checked::kSystem && !unnamed;
    if (named_so)
      return truth.values.contains(value.first) && truth.values.at(value.first) == value.second;
    return value.second == kUnresolvedText ||
           std::find(left.begin(), left.end(), value.second) != left.end();
  });
}

enum class Damage { kCleared, kFilledAnew, kSectors, kStretches, kCut };
constexpr std::size_t kDamages = 5;
constexpr std::string_view kDamageNames[] = {"cleared", "filled anew", "sectors", "stretches",
                                             "cut"};

// Puts zeros, noise or bytes of another log over a stretch.
void Overwrite(ByteString& file, std::size_t at, std::size_t size, const ByteString& other,
               Random& random) {
  const std::size_t kind = Below(random, 3);
  const std::size_t from = support::kEvtxHeaderSize + Below(random, 50'000);
  for (std::size_t i = 0; i < size && at + i < file.size(); ++i) {
    file[at + i] = kind == 0   ? std::uint8_t{0}
                   : kind == 1 ? static_cast<std::uint8_t>(random())
                               : other[from + i];
  }
}

// Ends the chunk's records behind some of them.
void Forget(ByteString& file, std::size_t records, Random& random) {
  support::ForgetRecords(file, 0, Below(random, 2) == 0 ? 0 : Below(random, records / 2));
}

ByteString DamageLog(Damage damage, const TrueLog& old, const TrueLog& young, Random& random) {
  ByteString file = old.file;
  if (damage == Damage::kFilledAnew) {
    ByteString filled = young.file;
    const std::size_t kept = Below(random, young.records.size() - 1) + 1;
    support::ForgetRecords(filled, 0, kept);
    const std::size_t end = support::RecordOffset(young.file, 0, kept);
    std::copy(file.begin() + static_cast<std::ptrdiff_t>(end), file.end(),
              filled.begin() + static_cast<std::ptrdiff_t>(end));
    return filled;
  }
  Forget(file, old.records.size(), random);
  const std::size_t times = 1 + Below(random, 6);
  for (std::size_t i = 0; i < times; ++i) {
    if (damage == Damage::kSectors) {
      const std::size_t sector = Below(random, 118);
      Overwrite(file, support::kEvtxHeaderSize + 512 * (1 + sector), 512 * (1 + Below(random, 8)),
                young.file, random);
    }
    if (damage == Damage::kStretches) {
      Overwrite(file, support::kEvtxHeaderSize + 512 + Below(random, 60'000),
                1 + Below(random, 2000), young.file, random);
    }
  }
  if (damage == Damage::kCut) support::CutLastChunk(file, 600 + Below(random, 60'000));
  if (Below(random, 3) == 0) support::RemoveChunkMagic(file, 0);
  return file;
}

struct Tally {
  std::size_t whole = 0;      // records that are whole and were recovered
  std::size_t hit = 0;        // recovered, though some of their bytes are others
  std::size_t hit_false = 0;  // of these, those that say what never was
  std::size_t missed = 0;     // whole, and not recovered
  std::size_t lower = 0;      // recovered under a lower class than their bytes allow
  std::size_t higher = 0;     // under a higher one
  std::array<std::size_t, 3> classes{};
};

// The record of one of the logs that stands whole at a place; null when none does.
const TrueRecord* WholeAt(const ByteString& file, const TrueLog& truth, std::uint64_t at) {
  const auto found = truth.records.find(at);
  if (found == truth.records.end()) return nullptr;
  return IsIntact(file, truth, {at, at + found->second.size}) ? &found->second : nullptr;
}

Checked ExpectedClass(const ByteString& file, const TrueLog& truth, const TrueRecord& record) {
  if (!AreIntact(file, truth, record.own)) return Checked::kNone;
  return AreIntact(file, truth, record.nested) ? Checked::kAll : Checked::kSystem;
}

// Whether a log had such a record, at any place: bytes of another log may bring a whole one along.
bool SaysWhatWas(const Found& found, const TrueLog& truth) {
  return std::any_of(truth.records.begin(), truth.records.end(),
                     [&](const auto& known) { return IsTrue(found, known.second.record); });
}

void CheckFound(const ByteString& file, const TrueLog& old, const TrueLog& young,
                const Found& found, Tally& tally) {
  const std::uint64_t at = found.record.file_offset;
  const TrueLog* truth = &old;
  const TrueRecord* whole = WholeAt(file, old, at);
  if (!whole) whole = WholeAt(file, *(truth = &young), at);
  ++tally.classes[static_cast<std::size_t>(found.recovery.checked)];
  if (!whole) {
    ++tally.hit;
    const bool is_true = SaysWhatWas(found, old) || SaysWhatWas(found, young);
    tally.hit_false += !is_true;
    return;
  }
  ++tally.whole;
  EXPECT_TRUE(IsTrue(found, whole->record)) << at;
  const Checked expected = ExpectedClass(file, *truth, *whole);
  tally.lower += found.recovery.checked > expected;
  tally.higher += found.recovery.checked < expected;
}

void CheckMissed(const ByteString& file, const TrueLog& old, const RecoveredLog& log,
                 Tally& tally) {
  std::vector<std::uint64_t> places;
  for (const Found& found : log.found) places.push_back(found.record.file_offset);
  for (const DecodedRecord& record : log.live) places.push_back(record.file_offset);
  for (const auto& [at, record] : old.records) {
    if (!WholeAt(file, old, at)) continue;
    tally.missed += std::find(places.begin(), places.end(), at) == places.end();
  }
}

std::size_t Tries() {
  const char* const given = std::getenv("TARNLEX_OVERWRITES");
  return given == nullptr ? 500 : std::strtoul(given, nullptr, 10);
}

void Report(Damage damage, const Tally& tally) {
  std::cout << kDamageNames[static_cast<std::size_t>(damage)] << ": whole " << tally.whole
            << ", missed " << tally.missed << ", all/system/none " << tally.classes[0] << '/'
            << tally.classes[1] << '/' << tally.classes[2] << ", lower " << tally.lower
            << ", higher " << tally.higher << ", hit " << tally.hit << ", false " << tally.hit_false
            << '\n';
}

TEST(RecoverProperty, WhatIsGivenOfDamagedChunksIsWhatTheyHeld) {
  Random random(20'230'314);
  std::vector<TrueLog> logs;
  for (std::uint64_t i = 0; i < 8; ++i) logs.push_back(MakeTruth(MakeLog(random, 1 + 5000 * i)));
  std::array<Tally, kDamages> tallies;
  for (std::size_t i = 0; i < Tries(); ++i) {
    const auto damage = static_cast<Damage>(i % kDamages);
    const std::size_t one = Below(random, logs.size());
    const TrueLog& old = logs[one];
    const TrueLog& young = logs[(one + 1 + Below(random, logs.size() - 1)) % logs.size()];
    const ByteString file = DamageLog(damage, old, young, random);
    const RecoveredLog log = Recover(file);
    Tally& tally = tallies[i % kDamages];
    for (const Found& found : log.found) CheckFound(file, old, young, found, tally);
    CheckMissed(file, old, log, tally);
    if (testing::Test::HasFailure()) break;
  }
  for (std::size_t i = 0; i < kDamages; ++i) {
    const auto damage = static_cast<Damage>(i);
    const Tally& tally = tallies[i];
    Report(damage, tally);
    EXPECT_GT(tally.whole, 0U);
    EXPECT_EQ(tally.missed, 0U);
    // A new template may stand where the same one stood, and serve; names of another time prove
    // nothing, though they may be the same.
    if (damage != Damage::kFilledAnew) {
      EXPECT_EQ(tally.higher, 0U);
      EXPECT_LE(tally.lower * 100, tally.whole);
    }
    // A few bytes in the middle of a value may leave another value as good; a sector does not.
    if (damage == Damage::kStretches) {
      EXPECT_LE(tally.hit_false * 1000, tally.whole);
    } else {
      EXPECT_EQ(tally.hit_false, 0U);
    }
  }
}

}  // namespace
}  // namespace tarnlex
