// Evidence stays as it is: what is read is not written, locked, touched or created.
#include <gtest/gtest.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>

#include "tests/end_to_end/in_process.h"
#include "tests/support/evtx_builder.h"

namespace tarnlex {
namespace {

std::string SmallLog() {
  support::EvtxBuilder log;
  log.AddEvent({.event_id = 4624, .data = {{"TargetUserName", "alice"}}});
  const support::ByteString bytes = log.Build();
  return {bytes.begin(), bytes.end()};
}

std::size_t FilesIn(const std::string& directory) {
  std::size_t files = 0;
  for ([[maybe_unused]] const auto& entry : std::filesystem::directory_iterator(directory)) ++files;
  return files;
}

// Runs with an output that is the input and expects that neither happens.
void ExpectRefused(std::vector<std::string> args, const std::string& named) {
  const TempDirectory directory;
  const std::string content = SmallLog();
  directory.AddFile("Security.evtx", content);
  std::filesystem::create_hard_link(directory.path + "/Security.evtx", directory.path + "/linked");
  std::filesystem::create_symlink("Security.evtx", directory.path + "/pointed");
  args.push_back("-quiet");
  const Outcome outcome = RunIn(directory.path, args);
  EXPECT_EQ(outcome.code, -1) << named;
  EXPECT_NE(outcome.err.find("prob opening file " + named + " for output, aborting\n"),
            std::string::npos)
      << outcome.err;
  EXPECT_EQ(BehindRunHeader(outcome.out), "");
  EXPECT_EQ(ReadFile(directory.path + "/Security.evtx"), content);
  EXPECT_EQ(FilesIn(directory.path), 3U);
}

TEST(Evidence, IsNoOutputWhateverItIsCalled) {
  for (const std::string option : {"-out", "-outfile", "-stats", "-diags"}) {
    for (const std::string name : {"Security.evtx", "./Security.evtx", "linked", "pointed"}) {
      ExpectRefused({"-log", "Security.evtx", option, name}, name);
    }
  }
}

TEST(Evidence, IsNoOutputAlsoWhenNothingElseIsOpenedYet) {
  ExpectRefused({"-diags", "new.txt", "-log", "Security.evtx", "-out", "linked"}, "linked");
  ExpectRefused({"-log", "linked | pointed", "-stats", "new.txt", "-out", "Security.evtx"},
                "Security.evtx");
  // The value of -out shows only when -csv has been taken out.
  ExpectRefused({"-out", "-csv", "linked", "-log", "Security.evtx"}, "linked");
}

TEST(Evidence, IsNoOutputOfARunThatDoesNotReadIt) {
  ExpectRefused({"-pipe", "-out", "Security.evtx"}, "Security.evtx");
  ExpectRefused({"-pipe", "-stats", "linked"}, "linked");
}

TEST(Evidence, IsNoOutputOfItsOwnFolder) {
  const TempDirectory directory;
  directory.AddFile("a.evtx", SmallLog());
  directory.AddFile("a.evtx.txt", SmallLog());
  const Outcome outcome =
      RunIn(directory.path, {"-log", "a.evtx | a.evtx.txt", "-outdir", ".", "-quiet"});
  EXPECT_NE(outcome.err.find("for output, aborting\n"), std::string::npos);
  EXPECT_EQ(ReadFile(directory.path + "/a.evtx.txt"), SmallLog());
}

// Files in the folder of an earlier run's answers that have the names of such answers.
TEST(Evidence, IsNoAnswerOfAnEarlierRun) {
  const TempDirectory directory;
  directory.AddFile("a.evtx", SmallLog());
  directory.AddFile("a.evtx.txt", SmallLog());
  directory.AddFile("b.Evt", EmptyEvt());
  directory.AddFile("c.evtx", EmptyEvtx());
  directory.AddFile("d.evtx", "text that -log names");
  directory.AddFile("c.evtx.txt", "!cmd, -enum_evtxlog, -id, 1\n");
  std::filesystem::create_hard_link(directory.path + "/d.evtx", directory.path + "/b.Evt.txt");
  const Outcome outcome =
      RunIn(directory.path, {"-log", "a.evtx | b.Evt | c.evtx | d.evtx", "-outdir", ".", "-cmdfile",
                             "c.evtx.txt", "-stats", "d.evtx.txt", "-quiet"});
  EXPECT_EQ(outcome.code, 0) << outcome.err;
  EXPECT_EQ(ReadFile(directory.path + "/a.evtx.txt"), SmallLog());
  EXPECT_NE(ReadFile(directory.path + "/b.Evt.txt"), "");
  EXPECT_NE(ReadFile(directory.path + "/c.evtx.txt"), "");
  EXPECT_NE(ReadFile(directory.path + "/d.evtx.txt"), "");
}

TEST(Evidence, ACommandFileIsNoOutputEither) {
  const TempDirectory directory;
  directory.AddFile("a.evtx", SmallLog());
  directory.AddFile("commands", "!cmd, -enum_evtxlog, -all_data\n");
  const Outcome outcome =
      RunIn(directory.path, {"-log", "a.evtx", "-cmdfile", "commands", "-out", "./commands"});
  EXPECT_EQ(outcome.code, -1);
  EXPECT_EQ(ReadFile(directory.path + "/commands"), "!cmd, -enum_evtxlog, -all_data\n");
}

TEST(Evidence, IsReadWithoutRightsToWriteAndUnderALock) {
  const TempDirectory directory;
  const std::string log = directory.AddFile("a.evtx", SmallLog());
  ASSERT_EQ(chmod(log.c_str(), 0444), 0);
  const int held = open(log.c_str(), O_RDONLY | O_CLOEXEC);
  ASSERT_EQ(flock(held, LOCK_EX | LOCK_NB), 0);
  const Outcome outcome = RunIn(directory.path, {"-log", "a.evtx", "-csvgen", "-quiet"});
  close(held);
  EXPECT_EQ(outcome.code, 0);
  EXPECT_NE(outcome.out.find(",alice,"), std::string::npos);
}

TEST(Evidence, KeepsItsTimes) {
  const TempDirectory directory;
  const std::string log = directory.AddFile("a.evtx", SmallLog());
  const timespec times[2] = {{1000, 0}, {2000, 0}};
  ASSERT_EQ(utimensat(AT_FDCWD, log.c_str(), times, 0), 0);
  ASSERT_EQ(RunIn(directory.path, {"-log", "a.evtx", "-csvgen", "-quiet"}).code, 0);
  struct stat status {};
  ASSERT_EQ(stat(log.c_str(), &status), 0);
  EXPECT_EQ(status.st_atim.tv_sec, 1000);
  EXPECT_EQ(status.st_mtim.tv_sec, 2000);
}

TEST(Evidence, IsNotCreated) {
  const TempDirectory directory;
  RunIn(directory.path, {"-log", "absent.evtx", "-cmdfile", "absent.txt", "-quiet"});
  EXPECT_EQ(FilesIn(directory.path), 0U);
}

}  // namespace
}  // namespace tarnlex
