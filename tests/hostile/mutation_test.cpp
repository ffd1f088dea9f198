// Damage by a seeded generator, over built and real logs: thousands of variants must neither break
// the program nor cost a record of a chunk that was not damaged.
#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <map>
#include <random>

#include "evtx/plan_of.h"
#include "evtx/walk.h"
#include "fuzz/fuzz_target.h"
#include "fuzz/whole_log.h"
#include "tests/app/temp_directory.h"
#include "tests/support/evt_builder.h"
#include "tests/support/evtx_builder.h"

namespace tarnlex {
namespace {

using support::ByteString;

using Random = std::mt19937_64;

std::size_t Below(Random& random, std::size_t end) { return end == 0 ? 0 : random() % end; }

// One act of damage between `begin` and `end` that leaves the size as it is.
void Damage(ByteString& file, std::size_t begin, std::size_t end, Random& random) {
  if (begin >= end) return;
  const std::size_t at = begin + Below(random, end - begin);
  const std::size_t size = std::min(end - at, Below(random, 64) + 1);
  const auto from = [&](std::size_t offset) {
    return file.begin() + static_cast<std::ptrdiff_t>(offset);
  };
  switch (Below(random, 6)) {
    case 0: file[at] = static_cast<std::uint8_t>(file[at] ^ (1U << Below(random, 8))); break;
    case 1: file[at] = static_cast<std::uint8_t>(random()); break;
    case 2: std::fill_n(from(at), size, static_cast<std::uint8_t>(Below(random, 2) * 0xFF)); break;
    case 3: {  // a number at one of its limits
      constexpr std::uint32_t kNumbers[] = {0, 1, 4, 24, 0xFFFF, 0x10000, 0x7FFFFFFF, 0xFFFFFFFF};
      if (end - at >= 4) support::SetU32(file, at, kNumbers[Below(random, std::size(kNumbers))]);
      break;
    }
    case 4: {  // a piece of the file in another place
      const std::size_t source = Below(random, file.size() - size + 1);
      const ByteString piece(from(source), from(source + size));
      std::copy(piece.begin(), piece.end(), from(at));
      break;
    }
    default: {  // a piece repeated until the end of a longer stretch
      const std::size_t stretch = std::min(end - at, size * (Below(random, 20) + 1));
      for (std::size_t i = size; i < stretch; ++i) file[at + i] = file[at + i - size];
    }
  }
}

// Everything a walk gives, record by record, keyed by the chunk's place in the file.
using Told = std::map<std::uint64_t, std::string>;

Told TellAll(Bytes file, Policy policy) {
  Told told;
  if (file.size() < kEvtxFileHeaderSize) return told;
  EvtxDecoder decoder;
  decoder.policy = policy;
  EvtxHandlers handlers;
  std::string scratch;
  handlers.record = [&](EvtxDecoder& inner, DecodedEvent& event) {
    const Plan& plan = PlanOf(inner, event);
    std::string& text = told[event.chunk_file_offset];
    text += std::to_string(event.record_id) + " " + std::to_string(event.event_id) + "\n";
    for (const PlanValue& value : plan.values) {
      text.append(value.name).append("=");
      text.append(TextOf(event.structure, plan, value, scratch)) += '\n';
    }
  };
  WalkSlots(decoder, file.subspan(kEvtxFileHeaderSize), kEvtxFileHeaderSize, handlers);
  return told;
}

ByteString BuiltEvtx() {
  support::EvtxBuilder log;
  for (int chunk = 0; chunk < 3; ++chunk) {
    if (chunk > 0) log.AddChunk();
    for (int i = 0; i < 40; ++i) {
      const std::string user = "user " + std::to_string(i % 7);
      log.AddEvent({.event_id = static_cast<std::uint32_t>(4624 + i % 3),
                    .user_sid = "S-1-5-21-1-2-3-500",
                    .data = {{"TargetUserName", user},
                             {"LogonType", support::UInt32Value(3)},
                             {"", "unnamed"},
                             {"When", support::FileTimeValue(130'000'000'000'000'000)}}});
    }
  }
  return log.Build();
}

ByteString BuiltEvt() {
  support::EvtBuilder log;
  for (int i = 0; i < 200; ++i) {
    log.AddEntry({.event_id = 528,
                  .sid = "S-1-5-18",
                  .strings = {"alice", std::to_string(i), ""},
                  .data = {1, 2, 3}});
  }
  return log.Build({.start = 900, .file_size = 40'000, .flags = support::kEvtWrapped});
}

std::vector<std::filesystem::path> RealLogs(const char* folder, const char* extension) {
  std::vector<std::filesystem::path> paths;
  const char* root = std::getenv("TARNLEX_LOGS");
  if (root == nullptr) return paths;
  const std::filesystem::path path = std::filesystem::path(root) / folder;
  if (!std::filesystem::exists(path)) return paths;
  for (const auto& entry : std::filesystem::recursive_directory_iterator(path)) {
    if (entry.path().extension() == extension) paths.push_back(entry.path());
  }
  std::sort(paths.begin(), paths.end());
  return paths;
}

ByteString ReadLog(const std::filesystem::path& path, std::size_t most) {
  const std::string text = ReadFile(path.string()).substr(0, most);
  return {text.begin(), text.end()};
}

// Damages one chunk, or its neighbours' order, and compares the others.
void ExpectOtherChunksUnchanged(const ByteString& file, const Told& before, Policy policy,
                                Random& random) {
  const std::size_t chunks = (file.size() - kEvtxFileHeaderSize) / kChunkSize;
  const std::size_t victim = Below(random, chunks);
  const std::size_t begin = support::ChunkOffset(victim);
  ByteString damaged = file;
  const std::size_t acts = Below(random, 8) + 1;
  for (std::size_t i = 0; i < acts; ++i) Damage(damaged, begin, begin + kChunkSize, random);
  Told after = TellAll(damaged, policy);
  Told expected = before;
  after.erase(begin);
  expected.erase(begin);
  ASSERT_EQ(after, expected);
}

void ExpectDumped(const ByteString& file, Random& random) {
  RunOptions options;
  options.delimited = Below(random, 2) == 0;
  options.csvgen_form = Below(random, 3) == 0;
  options.bodyfile_form = Below(random, 4) == 0;
  options.cards_form = Below(random, 4) == 0;
  options.card_width = Below(random, 100);
  if (Below(random, 3) == 0) options.columns = {"level", "Computer", "param_01", "eventid", "x"};
  options.all_params = true;
  options.complete = Below(random, 2) == 0;
  std::size_t written = 0;
  TextSink out = MakeSink([&written](std::string_view text) {
    written += text.size();
    return true;
  });
  const auto start = std::chrono::steady_clock::now();
  DumpLog(FileOf(file), options, out);
  const std::chrono::duration<double> taken = std::chrono::steady_clock::now() - start;
  // Generous, since other work may share the machine and sanitizers slow this one down.
  const double mebibytes = 1 + static_cast<double>(file.size()) / (1 << 20);
  EXPECT_LT(taken.count(), 20 * mebibytes);
  EXPECT_LT(static_cast<double>(written), 512.0 * (1 << 20) * mebibytes);
}

// Damage anywhere, cuts, and pieces of the log's other end put in.
void MutateWhole(const ByteString& file, Random& random) {
  ByteString damaged = file;
  const std::size_t acts = Below(random, 20) + 1;
  for (std::size_t i = 0; i < acts; ++i) Damage(damaged, 0, damaged.size(), random);
  if (Below(random, 4) == 0) damaged.resize(Below(random, damaged.size()));
  if (Below(random, 4) == 0 && !damaged.empty()) {
    const std::size_t at = Below(random, damaged.size());
    const std::size_t from = Below(random, file.size());
    const std::size_t size = std::min(file.size() - from, Below(random, 70'000));
    const auto piece = file.begin() + static_cast<std::ptrdiff_t>(from);
    damaged.insert(damaged.begin() + static_cast<std::ptrdiff_t>(at), piece,
                   piece + static_cast<std::ptrdiff_t>(size));
  }
  ExpectDumped(damaged, random);
}

void MutateEvtx(const ByteString& file, int variants, std::uint64_t seed) {
  Random random(seed);
  const Told literal = TellAll(file, Policy::kLiteral);
  const Told complete = TellAll(file, Policy::kComplete);
  ASSERT_FALSE(literal.empty());
  for (int i = 0; i < variants && !testing::Test::HasFailure(); ++i) {
    SCOPED_TRACE("variant " + std::to_string(i));
    if (i % 2 == 0) {
      ExpectOtherChunksUnchanged(file, literal, Policy::kLiteral, random);
    } else {
      ExpectOtherChunksUnchanged(file, complete, Policy::kComplete, random);
    }
    MutateWhole(file, random);
  }
}

TEST(Mutation, OfABuiltEvtxLog) { MutateEvtx(BuiltEvtx(), 1500, 1); }

TEST(Mutation, OfABuiltEvtLog) {
  Random random(2);
  const ByteString file = BuiltEvt();
  for (int i = 0; i < 2000; ++i) MutateWhole(file, random);
}

TEST(MutationRealLogs, OfEveryEvtxLog) {
  const auto paths = RealLogs("evtx", ".evtx");
  if (paths.empty()) GTEST_SKIP() << "TARNLEX_LOGS is not set";
  std::uint64_t seed = 3;
  for (const auto& path : paths) {
    SCOPED_TRACE(path.string());
    // The first chunks of a log are like all of its others.
    const ByteString file = ReadLog(path, support::ChunkOffset(4));
    if (file.size() < support::ChunkOffset(1) || TellAll(file, Policy::kLiteral).empty()) continue;
    MutateEvtx(file, 40, seed++);
  }
}

TEST(MutationRealLogs, OfEveryEvtLog) {
  auto paths = RealLogs("evt", ".evt");
  for (const auto& more : RealLogs("evt", ".Evt")) paths.push_back(more);
  if (paths.empty()) GTEST_SKIP() << "TARNLEX_LOGS is not set";
  Random random(4);
  for (const auto& path : paths) {
    const ByteString file = ReadLog(path, 512 << 10);
    for (int i = 0; i < 40; ++i) MutateWhole(file, random);
  }
}

}  // namespace
}  // namespace tarnlex
