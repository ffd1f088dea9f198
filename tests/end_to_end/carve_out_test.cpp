// Logs that are made of what lies in an image: they hold what was found, whatever reads them.
#include <cstdlib>
#include <fstream>

#include "tests/end_to_end/in_process.h"
#include "tests/support/evt_builder.h"
#include "tests/support/evtx_builder.h"
#include "tests/support/other_reader.h"

namespace tarnlex {
namespace {

using support::ByteString;
using support::EvtxBuilder;

std::string TextOfBytes(const ByteString& bytes) { return {bytes.begin(), bytes.end()}; }

ByteString Chunks(const std::string& channel, const std::string& computer, int records) {
  EvtxBuilder log;
  for (int i = 0; i < records; ++i) {
    log.AddEvent(
        {.event_id = 4624, .channel = channel, .computer = computer, .data = {{"User", "alice"}}});
  }
  return log.BuildChunks();
}

std::vector<std::string> NamesIn(const std::string& folder) {
  std::vector<std::string> names;
  for (const auto& entry : std::filesystem::directory_iterator(folder)) {
    names.push_back(entry.path().filename().string());
  }
  std::sort(names.begin(), names.end());
  return names;
}

struct CarveOut : testing::Test {
  TempDirectory directory;
  ByteString image = ByteString(1000);

  Outcome Run() const {
    directory.AddFile("image", TextOfBytes(image));
    return RunIn(directory.path, {"-carve", "image", "-carve_out", "found", "-json", "-quiet"});
  }
  std::vector<std::string> Names() const { return NamesIn(directory.path + "/found"); }
  ByteString Bytes(const std::string& name) const {
    const std::string text = ReadFile(directory.path + "/found/" + name);
    return {text.begin(), text.end()};
  }
  std::size_t RecordsIn(const std::string& name) const {
    const Outcome read = RunIn(directory.path, {"-log", "found/" + name, "-json", "-quiet"});
    return static_cast<std::size_t>(std::count(read.out.begin(), read.out.end(), '\n'));
  }
};

TEST_F(CarveOut, MakesALogOfEachChannelAndComputer) {
  support::PutBytes(image, Chunks("Security", "WKS-ALPHA", 3));
  image.resize(image.size() + 77);
  support::PutBytes(image, Chunks("System", "WKS-ALPHA", 2));
  support::PutBytes(image, Chunks("Security", "WKS-ALPHA", 4));
  const Outcome run = Run();
  EXPECT_EQ(run.code, 0);
  EXPECT_NE(run.err.find("2 logs made of what was found, with file headers made anew, in found\n"),
            std::string::npos);
  ASSERT_EQ(Names(),
            (std::vector<std::string>{"WKS-ALPHA_Security.evtx", "WKS-ALPHA_System.evtx"}));
  EXPECT_EQ(RecordsIn("WKS-ALPHA_Security.evtx"), 7U);
  EXPECT_EQ(RecordsIn("WKS-ALPHA_System.evtx"), 2U);
  const ByteString made = Bytes("WKS-ALPHA_Security.evtx");
  EXPECT_EQ(made.size(), 4096U + 2 * 65'536);
  EXPECT_TRUE(std::equal(made.begin() + 4096, made.begin() + 4096 + 65'536, image.begin() + 1000))
      << "chunks stay as they were found";
}

TEST_F(CarveOut, MakesLogsThatAnotherReaderOpens) {
  support::PutBytes(image, Chunks("Security", "WKS-ALPHA", 3));
  support::PutBytes(image, Chunks("Security", "WKS-ALPHA", 4));
  Run();
  const auto seen = support::ReadWithOther("evtxexport", Bytes("WKS-ALPHA_Security.evtx"));
  if (!seen) GTEST_SKIP() << "not installed: evtxexport";
  std::size_t events = 0;
  for (std::size_t at = 0; (at = seen->find("Event identifier", at)) != std::string::npos; ++at) {
    ++events;
  }
  EXPECT_EQ(events, 7U);
}

TEST_F(CarveOut, FillsAChunkThatIsCutWithZeros) {
  ByteString first = Chunks("Security", "WKS-ALPHA", 40);
  first.resize(5000);
  support::PutBytes(image, first);
  support::PutBytes(image, Chunks("System", "WKS-ALPHA", 2));
  Run();
  const ByteString made = Bytes("WKS-ALPHA_Security.evtx");
  ASSERT_EQ(made.size(), 4096U + 65'536);
  EXPECT_TRUE(std::all_of(made.begin() + 4096 + 5000, made.end(),
                          [](std::uint8_t byte) { return byte == 0; }));
}

TEST_F(CarveOut, WritesOverNothingThatIsThere) {
  support::PutBytes(image, Chunks("Security", "WKS-ALPHA", 1));
  directory.AddFile("found/WKS-ALPHA_Security.evtx", "mine");
  directory.AddFile("found/WKS-ALPHA_Security_2.evtx.part", "mine too");
  EXPECT_EQ(Run().code, 0);
  EXPECT_EQ(ReadFile(directory.path + "/found/WKS-ALPHA_Security.evtx"), "mine");
  EXPECT_EQ(ReadFile(directory.path + "/found/WKS-ALPHA_Security_2.evtx.part"), "mine too");
  EXPECT_EQ(RecordsIn("WKS-ALPHA_Security_3.evtx"), 1U);
}

TEST_F(CarveOut, KeepsFilesInTheFolderWhateverAChannelIsCalled) {
  support::PutBytes(image, Chunks("../../../evil", "..\\..\\x", 1));
  support::PutBytes(image, Chunks("Microsoft-Windows-Bits-Client/Operational", "con", 1));
  support::PutBytes(image, Chunks(std::string(5000, 'x'), "\x1b]0;a\x07", 1));
  support::PutBytes(image, Chunks("a:b", "WKS", 1));
  support::PutBytes(image, Chunks("a*b", "WKS", 1));
  EXPECT_EQ(Run().code, 0);
  const std::vector<std::string> names = Names();
  EXPECT_EQ(names.size(), 5U);
  for (const std::string& name : names) {
    EXPECT_LE(name.size(), 260U);
    EXPECT_EQ(name.find_first_of("/\\:*\x1b\x07"), std::string::npos) << name;
    EXPECT_NE(name.front(), '.') << name;
    EXPECT_EQ(RecordsIn(name), 1U) << name;
  }
  EXPECT_EQ(std::count(names.begin(), names.end(), "WKS_a_b_2.evtx"), 1);
  EXPECT_EQ(NamesIn(directory.path), (std::vector<std::string>{"found", "image"}));
}

TEST_F(CarveOut, MakesLogsOfEvtRecords) {
  support::EvtBuilder log;
  for (int i = 0; i < 3; ++i) log.AddEntry({.event_id = 528, .strings = {"alice"}});
  log.AddEntry({.event_id = 6005, .source = "EventLog"});
  support::PutBytes(image, log.Build());
  Run();
  ASSERT_EQ(Names(),
            (std::vector<std::string>{"WKS-ALPHA_Security.evt", "WKS-ALPHA_other logs.evt"}));
  EXPECT_EQ(RecordsIn("WKS-ALPHA_Security.evt"), 3U);
  const auto seen = support::ReadWithOther("evtexport", Bytes("WKS-ALPHA_Security.evt"));
  if (!seen) GTEST_SKIP() << "not installed: evtexport";
  EXPECT_NE(seen->find("alice"), std::string::npos);
}

TEST_F(CarveOut, SaysWhenTheFolderCannotBeMade) {
  directory.AddFile("found", "a file");
  support::PutBytes(image, Chunks("Security", "WKS-ALPHA", 1));
  const Outcome run = Run();
  EXPECT_NE(run.code, 0);
  EXPECT_NE(run.err.find("prob opening file found for output, aborting\n"), std::string::npos);
}

}  // namespace
}  // namespace tarnlex
