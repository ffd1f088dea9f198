// What tables lose of real logs stands in those of -complete: logs below $TARNLEX_LOGS that hold
// one of each kind.
#include <algorithm>
#include <cstdlib>
#include <map>
#include <set>
#include <sstream>

#include "tests/end_to_end/in_process.h"
#include "tests/support/utf8.h"

namespace tarnlex {
namespace {

// A row by its columns; of those that stand twice, the first.
using Row = std::map<std::string, std::string>;

std::vector<std::string> CellsOf(const std::string& line) {
  std::vector<std::string> cells;
  std::istringstream in(line);
  for (std::string cell; std::getline(in, cell, '\x01');) cells.push_back(cell);
  return cells;
}

class Losses : public testing::Test {
 protected:
  void SetUp() override {
    const char* root = std::getenv("TARNLEX_LOGS");
    if (root != nullptr) folder_ = std::string(root) + "/evtx/losses/";
    if (root == nullptr || !std::filesystem::exists(folder_)) {
      GTEST_SKIP() << "no logs of losses below TARNLEX_LOGS";
    }
  }

  // The rows of events with that identifier (all if empty), by their time.
  std::vector<Row> Rows(const std::string& log, const std::string& id, bool complete) const {
    const TempDirectory directory;
    std::vector<std::string> args = {"-log",           folder_ + log,    "-quiet", "-csvgen",
                                     "-no_whitespace", "-csv_separator", "\x01"};
    if (complete) args.push_back("-complete");
    if (!id.empty()) args.insert(args.end(), {"-eventid", id});
    const Outcome outcome = RunIn(directory.path, args);
    EXPECT_EQ(outcome.code, 0) << outcome.err;
    if (complete) {
      EXPECT_TRUE(support::IsUtf8(outcome.out)) << log;
    }
    std::istringstream lines{std::string(BehindRunHeader(outcome.out))};
    std::vector<std::string> names;
    std::vector<Row> rows;
    for (std::string line; std::getline(lines, line);) {
      if (line.empty()) continue;
      const std::vector<std::string> cells = CellsOf(line);
      if (names.empty()) {
        names = cells;
        continue;
      }
      Row& row = rows.emplace_back();
      for (std::size_t i = 0; i < std::min(names.size(), cells.size()); ++i) {
        row.emplace(names[i], cells[i]);
      }
    }
    EXPECT_FALSE(rows.empty()) << log;
    return rows;
  }

 private:
  std::string folder_;
};

TEST_F(Losses, OfWhichLogWasCleared) {
  for (const Row& row : Rows("system-104-log-cleared.evtx", "104", false)) {
    EXPECT_EQ(row.at("Channel"), "System");
    EXPECT_FALSE(row.contains("Channel_02"));
  }
  std::set<std::string> cleared;
  for (const Row& row : Rows("system-104-log-cleared.evtx", "104", true)) {
    EXPECT_EQ(row.at("Channel"), "System");
    EXPECT_TRUE(row.contains("BackupPath"));
    EXPECT_NE(row.at("Channel_02"), "");
    cleared.insert(row.at("Channel_02"));
  }
  EXPECT_EQ(cleared.size(), 90U);
  EXPECT_TRUE(cleared.contains("Application"));
}

TEST_F(Losses, OfTheProcessOfAConnection) {
  std::map<std::string, int> processes;
  for (const Row& row : Rows("security-5156-repeated-processid.evtx", "5156", true)) {
    EXPECT_EQ(row.at("ProcessID"), "4");
    if (row.at("Application").ends_with("\\plink.exe")) ++processes[row.at("ProcessID_02")];
  }
  EXPECT_EQ(processes, (std::map<std::string, int>{{"3324", 3}}));
}

TEST_F(Losses, OfEventsWithMoreThan28Values) {
  for (const Row& row : Rows("security-4742-more-than-28-values.evtx", "4742", false)) {
    EXPECT_FALSE(row.contains("TargetUserName"));
  }
  const std::vector<Row> rows = Rows("security-4742-more-than-28-values.evtx", "4742", true);
  EXPECT_EQ(rows.size(), 3U);
  for (const Row& row : rows) {
    EXPECT_EQ(row.at("TargetUserName"), "ALICE$");
    EXPECT_EQ(row.at("DnsHostName"), "-");
    EXPECT_NE(row.at("ServicePrincipalNames").find("TERMSRV/ALICE"), std::string::npos);
  }
}

TEST_F(Losses, OfTheEndOfSingleByteTexts) {
  std::set<std::string> installers;
  for (const Row& row : Rows("winsock-1-ansi-string.evtx", "", true)) {
    EXPECT_EQ(row.at("LSPName"), "PROXYCAP LSP");
    installers.insert(row.at("Installer"));
  }
  EXPECT_EQ(installers, (std::set<std::string>{"C:\\Windows\\System32\\MsiExec.exe",
                                               "C:\\Windows\\syswow64\\MsiExec.exe"}));
  const Row dns = Rows("dns-541-ansi-string.evtx", "", true).at(0);
  EXPECT_EQ(dns.at("Setting"), "UseSystemEventLog");
  EXPECT_EQ(dns.at("Scope"), ".");
  EXPECT_EQ(dns.at("NewValue"), "0");
}

TEST_F(Losses, OfWhenAnEventHappened) {
  using Texts = std::vector<std::string>;
  const auto times = [this](bool complete) {
    Texts texts;
    for (const Row& row : Rows("exported-wrong-written-time-17.evtx", "", complete)) {
      texts.push_back(row.at("Record#") + " " + row.at("Date") + " " + row.at("Time-UTC"));
    }
    return texts;
  };
  EXPECT_EQ(times(false), (Texts{"4  ", "1 07/29/2019 21:11:17.282", "2 07/29/2019 21:14:29.638",
                                 "3 08/23/2019 11:17:00.483"}));
  EXPECT_EQ(times(true), (Texts{"1 07/18/2019 21:50:20.049", "2 07/29/2019 21:11:17.282",
                                "3 07/29/2019 21:14:29.638", "4 08/23/2019 11:17:00.483"}));
  for (const Row& row : Rows("exported-wrong-written-time-4622.evtx", "", true)) {
    // "2021-05-10T06:22:54.6..." is the text of a forwarded event.
    EXPECT_EQ(row.at("SystemTime").substr(11, 12), row.at("Time-UTC"));
  }
}

}  // namespace
}  // namespace tarnlex
