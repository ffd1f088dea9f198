// The bodyfile as its readers take it: through mactime, which sorts it by time.
#include <cstdlib>
#include <sstream>

#include "tests/end_to_end/in_process.h"
#include "tests/support/evt_builder.h"
#include "tests/support/evtx_builder.h"

namespace tarnlex {
namespace {

std::string AsText(const support::ByteString& bytes) { return {bytes.begin(), bytes.end()}; }

// Two logs whose events interleave and stand out of order; the identifiers count the hours.
void AddLogs(const TempDirectory& directory) {
  support::EvtxBuilder log;
  for (const std::uint32_t id : {4U, 2U, 8U}) {
    log.AddEvent({.event_id = id,
                  .time = support::Filetime(2012, 3, 7, static_cast<int>(id), 5, 9, 9999999),
                  .data = {{"Text", "a|b,c\r\nd"}}});
  }
  directory.AddFile("x.evtx", AsText(log.Build()));
  support::EvtBuilder old;
  for (const std::uint32_t id : {7U, 3U}) {
    old.AddEntry({.time = support::UnixTime(2012, 3, 7, static_cast<int>(id), 59, 59),
                  .event_id = id,
                  .strings = {"x|y", "z,z"}});
  }
  directory.AddFile("x.evt", AsText(old.Build()));
}

std::vector<std::string> Timeline(const TempDirectory& directory, std::vector<std::string> more) {
  std::vector<std::string> args = {"-log", "x.evtx|x.evt", "-bodyfile", "-out", "b", "-quiet"};
  args.insert(args.end(), more.begin(), more.end());
  EXPECT_EQ(RunIn(directory.path, args).code, 0);
  const std::string command = "cd '" + directory.path + "' && mactime -d -y -z UTC -b b >m 2>e";
  EXPECT_EQ(std::system(command.c_str()), 0);
  EXPECT_EQ(ReadFile(directory.path + "/e"), "");
  std::vector<std::string> lines;
  std::istringstream text(ReadFile(directory.path + "/m"));
  for (std::string line; std::getline(text, line);) lines.push_back(line);
  return lines;
}

TEST(Mactime, SortsTheBodyfileByTheSecondsOfItsEvents) {
  if (std::system("command -v mactime >/dev/null") != 0) GTEST_SKIP() << "mactime is not installed";
  const TempDirectory directory;
  AddLogs(directory);
  const std::vector<std::string> expected = {
      "Date,Size,Type,Mode,UID,GID,Meta,File Name",
      "2012-03-07T02:05:09Z,0,macb,,0,0,0,\"Event ID: 2\"",
      "2012-03-07T03:59:59Z,0,macb,,0,0,0,\"Event ID: 3\"",
      "2012-03-07T04:05:09Z,0,macb,,0,0,0,\"Event ID: 4\"",
      "2012-03-07T07:59:59Z,0,macb,,0,0,0,\"Event ID: 7\"",
      "2012-03-07T08:05:09Z,0,macb,,0,0,0,\"Event ID: 8\"",
  };
  EXPECT_EQ(Timeline(directory, {}), expected);
}

TEST(Mactime, TakesAllParametersAsPartOfTheName) {
  if (std::system("command -v mactime >/dev/null") != 0) GTEST_SKIP() << "mactime is not installed";
  const TempDirectory directory;
  AddLogs(directory);
  const std::vector<std::string> lines = Timeline(directory, {"-allparams"});
  ASSERT_EQ(lines.size(), 6U);
  EXPECT_EQ(lines[2],
            "2012-03-07T03:59:59Z,0,macb,,0,0,0,\"Event ID: 3, [computer name:WKS-ALPHA], "
            "[param_01:x;y], [param_02:z;z] [source name:Security]\"");
}

TEST(Mactime, KeepsEventsOfOneSecondAndNameApartWhenComplete) {
  if (std::system("command -v mactime >/dev/null") != 0) GTEST_SKIP() << "mactime is not installed";
  const TempDirectory directory;
  support::EvtxBuilder log;
  for (int i = 0; i < 3; ++i) {
    log.AddEvent({.event_id = 2,
                  .time = support::Filetime(2012, 3, 7, 2, 5, 9, i),
                  .data = {{"Text", "100%41"}}});
  }
  directory.AddFile("x.evtx", AsText(log.Build()));
  directory.AddFile("x.evt", AsText(support::EvtBuilder().Build()));
  EXPECT_EQ(Timeline(directory, {}).size(), 2U);
  const std::vector<std::string> lines = Timeline(directory, {"-complete", "-allparams"});
  ASSERT_EQ(lines.size(), 4U);
  for (int i = 1; i < 4; ++i) {
    const std::string& line = lines[static_cast<std::size_t>(i)];
    EXPECT_EQ(line.rfind("2012-03-07T02:05:09Z,0,macb,,0,0," + std::to_string(i) + ",", 0), 0U);
    EXPECT_NE(line.find("[Text:100%41]"), std::string::npos) << line;
  }
}

}  // namespace
}  // namespace tarnlex
