// Whatever the options: the Windows program writes what the one built here writes.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <map>
#include <string>
#include <vector>

#include "tests/windows/both_programs.h"

namespace tarnlex::windows {
namespace {

namespace fs = std::filesystem;

constexpr const char* kAllLogs =
    "logs/Security.evtx|logs/SecEvent.Evt|logs/SysEvent.Evt|logs/System.evtx|logs/damaged.evtx|"
    "logs/chunk.bin";

// The size of everything that the last run here wrote, standard output aside.
std::size_t MadeBytes() {
  std::size_t bytes = 0;
  for (const auto& entry : fs::recursive_directory_iterator(WorkDirectory() + "/made_here")) {
    if (entry.is_regular_file()) bytes += entry.file_size();
  }
  return bytes;
}

Args WithAllLogs(const Args& options) {
  Args args = {"-log", kAllLogs};
  args.insert(args.end(), options.begin(), options.end());
  return args;
}

TEST(SameOutput, InEveryForm) {
  const std::vector<Args> forms = {
      {},
      {"-csv"},
      {"-csvgen", "-no_whitespace"},
      {"-csvl2t", "-no_whitespace", "-timeformat", "hh:mm:ss", "-username", "Анна", "-hostname",
       "h"},
      {"-csvl2t", "-pair_datetime"},
      {"-bodyfile"},
      {"-bodyfile", "-allparams"},
      {"-multiline"},
      {"-xml"},
      {"-pair_datetime", "-csv"},
      {"-csv", "-csv_separator", "tab"},
      {"-csv", "-csv_separator", "|"},
      {"-dateformat", "yyyy-mm-dd", "-timeformat", "hh:mm:ss.xxxxxx"},
      {"-alias", "Сервер|logs/Security.evtx", "-aliaspath", "fall 7|logs"},
      {"-csv", "-complete"},
      {"-csvgen", "-no_whitespace", "-complete"},
      {"-csvl2t", "-complete"},
      {"-bodyfile", "-complete"},
      {"-json"},
      {"-json", "-timesketch"},
      {"-event_json"},
      {"-event_xml"},
  };
  for (const Args& form : forms) {
    SCOPED_TRACE(testing::PrintToString(form));
    const Outcome here = CompareRuns(WithAllLogs(form));
    EXPECT_EQ(here.code, 0);
    EXPECT_GT(here.out.size(), 3000U) << "there should be records to compare";
  }
}

TEST(SameOutput, ForFiltersAndReports) {
  WriteAll(WorkDirectory() + "/отчёт.txt",
           "!cmd, -enum_evtxlog, -id, 4624, -name, logon, -conditions, LogonType|2, -all_data\r\n"
           "!cmd, -enum_evtxlog, -id, 7000, -name, Тест, -pull, Text\r\n"
           "!cmd, -enum_evtlog, -id, 528, -name, logon, -all_data\r\n");
  const std::vector<Args> filters = {
      {"-eventid", "4624,4625"},
      {"-string", "wren"},
      {"-string", "Журнал", "-csv"},
      {"-start_time", "01/01/2000", "-stop_time", "12/31/2030 23:59:59", "-csv"},
      {"-pw", "-time", "-logon", "-startstop", "-creds", "-usb", "-csv"},
      {"-logon", "-csvl2t"},
      {"-cmdfile", "отчёт.txt", "-csv"},
  };
  for (const Args& filter : filters) {
    SCOPED_TRACE(testing::PrintToString(filter));
    const Outcome here = CompareRuns(WithAllLogs(filter));
    EXPECT_EQ(here.code, 0);
    EXPECT_GT(here.out.size(), 800U) << "there should be records to compare";
  }
}

TEST(SameOutput, InFiles) {
  const std::vector<Args> outputs = {
      {"-csv", "-out", "made/записи 🗂.csv"},
      {"-csvgen", "-outdir", "made/каталог/d"},
      {"-outdir", "made/x", "-out", "all.txt"},
      {"-bodyfile", "-outdir", "made"},
      {"-csvl2t", "-out", "made/t.csv", "-stats", "made/статистика.txt"},
      {"-logon", "-stats", "made/stats.txt", "-hist", "TargetUserName|LogonType"},
      {"-diags", "made/diags.txt", "-verbose", "-quiet"},
  };
  for (const Args& output : outputs) {
    SCOPED_TRACE(testing::PrintToString(output));
    EXPECT_EQ(CompareRuns(WithAllLogs(output)).code, 0);
    EXPECT_GT(MadeBytes(), 1000U) << "there should be files to compare";
  }
}

// In this form nothing of a path is written, whose separators differ.
TEST(SameOutput, ForFoldersOfLogs) {
  const Args args = {"-dir", "logs", "-event_json", "-quiet", "-outdir", "made/mirror"};
  EXPECT_EQ(CompareRuns(args).code, 0);
  EXPECT_GT(MadeBytes(), 1000U) << "there should be files to compare";
  Args both = args;
  both[1] = "logs|.";
  EXPECT_EQ(CompareRuns(both).code, 0);
  EXPECT_GT(MadeBytes(), 1000U) << "there should be files to compare";
}

TEST(SameOutput, WhenItIsAComplaint) {
  const std::vector<Args> bad = {
      {"-csv"},
      {"-log", "none.evtx|logs/no_log.txt|logs"},
      {"-log", "logs/System.evtx", "-out", "made/none/x.txt"},
      {"-log", "logs/System.evtx", "-stats", "made/none/x.txt"},
      {"-log", "logs/System.evtx", "-alias", "odd"},
      {"-log", "logs/System.evtx", "-sqlite", "x"},
      {"-log", "logs/System.evtx", "-dateformat", "x", "-timeformat", "y"},
      {"-log", "logs/System.evtx", "-cmdfile", "нет.txt"},
      {"-log", "logs/System.evtx", "-livesys"},
      {"-pipe", "-partition", "d"},
      {"-dir", "none", "-out", "made/x.txt"},
      {"-dir", "logs", "-partition", "d"},
      {"-log", "logs/System.evtx", "/?"},
  };
  for (const Args& args : bad) {
    SCOPED_TRACE(testing::PrintToString(args));
    const Outcome here = CompareRuns(args);
    EXPECT_GT(here.err.size(), 1U) << "there should be a complaint to compare";
  }
}

TEST(SameOutput, ForPipedLists) {
  fs::copy_file(WorkDirectory() + "/logs/System.evtx",
                WorkDirectory() + "/logs/журнал 🗂 System.evtx",
                fs::copy_options::overwrite_existing);
  setenv("TARNLEX_CASE", "logs", 1);
  const std::string list =
      "logs/Security.evtx\r\n\r\nnone.evtx\r\n%TARNLEX_CASE%/SecEvent.Evt\r\nlogs/no_log.txt\r\n"
      "logs/журнал 🗂 System.evtx\r\nlogs/damaged.evtx\nlogs/SysEvent.Evt";
  const std::vector<Args> options = {
      {"-pipe"},
      {"-pipe", "-csv", "-quiet", "-logon", "-startstop"},
      {"-pipe", "-csvgen", "-outdir", "made", "-stats", "made/stats.txt", "-diags", "made/d.txt"}};
  for (const Args& args : options) {
    SCOPED_TRACE(testing::PrintToString(args));
    const Outcome here = CompareRuns(args, list);
    EXPECT_EQ(here.code, 0);
    EXPECT_GT(here.out.size() + MadeBytes(), 1000U);
  }
}

TEST(SameOutput, ForRealLogs) {
  const char* folder = getenv("TARNLEX_LOGS");
  if (folder == nullptr) GTEST_SKIP() << "TARNLEX_LOGS names no folder of logs";
  std::vector<std::string> logs;
  for (const auto& entry : fs::recursive_directory_iterator(folder)) {
    std::string extension = entry.path().extension().string();
    std::transform(extension.begin(), extension.end(), extension.begin(), ::tolower);
    if (extension == ".evtx" || extension == ".evt") logs.push_back(entry.path().string());
  }
  ASSERT_FALSE(logs.empty());
  std::sort(logs.begin(), logs.end());
  std::string list;
  for (const std::string& log : logs) list += log + "\r\n";
  const std::vector<Args> options = {
      {"-pipe", "-csvgen", "-outdir", "made", "-stats", "made/stats.txt", "-diags", "made/d.txt"},
      {"-pipe", "-out", "made/table.txt"},
      {"-pipe", "-csvl2t", "-out", "made/timeline.csv", "-quiet"},
      {"-pipe", "-bodyfile", "-allparams", "-out", "made/body.txt", "-quiet"},
      {"-pipe", "-csv", "-pw", "-time", "-logon", "-startstop", "-creds", "-usb"}};
  for (const Args& args : options) {
    SCOPED_TRACE(testing::PrintToString(args));
    const Outcome here = CompareRuns(args, list);
    EXPECT_EQ(here.code, 0);
    EXPECT_GT(here.out.size() + MadeBytes(), 100'000U);
  }
}

}  // namespace
}  // namespace tarnlex::windows
