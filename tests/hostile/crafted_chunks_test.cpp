// Crafted chunks cost little. Memory is held to its bound; time only to one that no busy machine
// comes near, since a test is no place to measure it: what the bounds prevent are seconds and
// minutes.
#include "tests/hostile/crafted_chunks.h"

#include <gtest/gtest.h>

#include <set>

#include "tests/app/temp_directory.h"
#include "tests/support/child_run.h"
#include "tests/support/evtx_builder.h"

namespace tarnlex {
namespace {

#if defined(__SANITIZE_ADDRESS__)
constexpr double kMostSeconds = 120;
constexpr bool kCountsMemory = false;  // the sanitizer's own would be counted
#else
constexpr double kMostSeconds = 10;
constexpr bool kCountsMemory = true;
#endif

std::string_view AsText(const support::ByteString& bytes) {
  return {reinterpret_cast<const char*>(bytes.data()), bytes.size()};
}

support::ChildRun Dump(const std::string& log, std::vector<std::string> form) {
  form.insert(form.end(), {"-quiet", "-log", log});
  return support::RunChild(TARNLEX_PROGRAM, form);
}

// A run that took longer than it may is given two more tries: whatever else the machine does only
// adds to it.
support::ChildRun Dump(const std::string& log, const std::vector<std::string>& form,
                       double most_seconds) {
  support::ChildRun run = Dump(log, form);
  for (int i = 0; i < 2 && run.seconds > most_seconds; ++i) run = Dump(log, form);
  return run;
}

TEST(CraftedLogs, CostLittleTimeAndMemory) {
  const TempDirectory directory;
  const std::string empty = directory.AddFile("empty.evtx", EmptyEvtx());
  const support::ChildRun base = Dump(empty, {});
  ASSERT_EQ(base.exit_code, 0);
  std::vector<std::vector<std::string>> forms = {{},
                                                 {"-csv"},
                                                 {"-csvgen"},
                                                 {"-bodyfile", "-allparams"},
                                                 {"-csv", "-string", "needle"},
                                                 {"-csv", "-complete"},
                                                 {"-json", "-timesketch"},
                                                 {"-event_json"},
                                                 {"-event_xml"},
                                                 {"-csv", "-diags", directory.path + "/diags"}};
  const std::set<std::string> kStreams = {"-json", "-event_json", "-event_xml"};
  // With a sanitizer, which makes every run many times as long, one form has to do.
  if (!kCountsMemory) forms.erase(forms.begin(), forms.end() - 1);
  for (const CraftedLog& crafted : CraftedLogs()) {
    const std::string log = directory.AddFile("log" + crafted.extension, AsText(crafted.bytes));
    for (const std::vector<std::string>& form : forms) {
      const support::ChildRun run = Dump(log, form, kMostSeconds);
      const std::string what = crafted.name + " " + testing::PrintToString(form);
      EXPECT_EQ(run.exit_code, 0) << what << run.err;
      EXPECT_LT(run.seconds, kMostSeconds) << what;
      if (kCountsMemory) {
        // A line holds what an EVT record says twice over, beside the record: 16 MiB each.
        const bool is_stream = !form.empty() && kStreams.contains(form.front());
        EXPECT_LT(run.peak_kib - base.peak_kib, (is_stream ? 96 : 64) << 10) << what;
      }
    }
  }
}

TEST(CraftedChunks, DoNotAddUpToGigabytes) {
  if (!kCountsMemory) GTEST_SKIP() << "the sanitizer's own memory would be counted";
  const TempDirectory directory;
  for (const CraftedChunk& chunk : CraftedChunks()) {
    ASSERT_EQ(chunk.bytes.size(), support::kEvtxChunkSize) << chunk.name;
    const std::string one = directory.AddFile("one.evtx", AsText(FileOfChunks(chunk.bytes, 1)));
    // Chunks that take little one by one take little together.
    constexpr int kCopies = 50;
    if (Dump(one, {"-csv"}).peak_kib < (1 << 20) / kCopies) continue;
    const std::string log =
        directory.AddFile("many.evtx", AsText(FileOfChunks(chunk.bytes, kCopies)));
    const support::ChildRun run = Dump(log, {"-csv"});
    EXPECT_EQ(run.exit_code, 0) << chunk.name << run.err;
    EXPECT_LT(run.peak_kib, 1 << 20) << chunk.name;
    EXPECT_LT(run.seconds, kCopies * kMostSeconds) << chunk.name;
  }
}

TEST(CraftedChunks, LeaveTheRecordsOfOtherChunksAlone) {
  const TempDirectory directory;
  support::EvtxBuilder good;
  good.AddEvent({.event_id = 4624, .data = {{"TargetUserName", "alice"}}});
  const support::ByteString chunk = good.BuildChunks();
  for (const CraftedChunk& crafted : CraftedChunks()) {
    support::ByteString file = FileOfChunks(crafted.bytes, 1);
    support::PutBytes(file, chunk);
    const std::string log = directory.AddFile("log.evtx", AsText(file));
    const std::string out = directory.path + "/out.csv";
    EXPECT_EQ(support::RunChild(TARNLEX_PROGRAM, {"-quiet", "-csvgen", "-log", log}, out).exit_code,
              0);
    EXPECT_NE(ReadFile(out).find(",alice,"), std::string::npos) << crafted.name;
  }
}

// A record that spends all that the chunk may cost does not make the next one poorer.
TEST(CraftedChunks, LeaveTheRecordsBehindAGreedyOneAlone) {
  const TempDirectory directory;
  support::EvtxBuilder log;
  std::vector<support::Node> elements;
  for (int i = 0; i < 900; ++i) {
    elements.push_back(
        support::Element("n" + std::to_string(i), {}, {support::Slot(0, support::kString)}));
  }
  const support::Template greedy =
      support::MakeTemplate("greedy", {support::Element("Event", {}, elements)});
  support::Value claim = support::StringValue("x");
  claim.stated_size = 9000;
  for (int i = 0; i < 150; ++i) {
    log.AddRecord({.body = support::InstanceFragment(greedy, {claim})});
  }
  log.AddEvent({.event_id = 4624, .data = {{"TargetUserName", "alice"}}});
  ASSERT_EQ(log.BuildChunks().size(), support::kEvtxChunkSize);
  const std::string path = directory.AddFile("log.evtx", AsText(log.Build()));
  const std::string out = directory.path + "/out.csv";
  ASSERT_EQ(support::RunChild(TARNLEX_PROGRAM,
                              {"-quiet", "-eventid", "4624", "-csvgen", "-log", path}, out)
                .exit_code,
            0);
  EXPECT_NE(ReadFile(out).find(",alice,"), std::string::npos);
}

}  // namespace
}  // namespace tarnlex
