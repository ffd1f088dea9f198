#include "app/input_discovery.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdlib>
#include <string>
#include <vector>

#include "logs/platform.h"
#include "tests/app/parsed_options.h"
#include "tests/app/prepared_run.h"
#include "tests/app/temp_directory.h"
#include "tests/support/evtx_builder.h"

namespace tarnlex {
namespace {

std::vector<std::string> PathsOf(const LogTable& logs) {
  std::vector<std::string> paths;
  for (const auto& [path, log] : logs) paths.push_back(path);
  return paths;
}

TEST(LogOption, SplitsAtBarsAndDropsEmptyPieces) {
  const PreparedRun run({"-LOG", "b.evt |  | a.evtx | b.evt "});
  EXPECT_TRUE(run.prepared);
  EXPECT_EQ(run.line.options.log_paths, (std::vector<std::string>{"b.evt", "a.evtx"}));
  EXPECT_EQ(PathsOf(run.run.logs), (std::vector<std::string>{"a.evtx", "b.evt"}));
}

TEST(LogOption, OrAnotherSourceMustNameALog) {
  for (const std::vector<std::string>& args : {std::vector<std::string>{}, {"-log", " | "}}) {
    const PreparedRun run(args);
    EXPECT_FALSE(run.prepared);
    EXPECT_EQ(run.said, "need to specify a log file, via the -log <event log> option\n");
  }
}

TEST(LogOption, IsIgnoredBesidePipedPaths) {
  const PreparedRun run({"-pipe", "-log", "/none"});
  EXPECT_TRUE(run.prepared);
  EXPECT_EQ(run.said, "prob opening log /none, skipping\nignoring -log, paths are piped in\n");
}

TEST(LogOption, NamesWhatCannotBeOpenedAndKeepsItsEntry) {
  const TempDirectory directory;
  const std::string none = directory.path + "/none.evtx";
  const PreparedRun run({"-log", none + "|" + directory.path + "|" + none});
  EXPECT_TRUE(run.prepared);
  EXPECT_EQ(run.said, "prob opening log " + none + ", skipping\nprob opening log " +
                          directory.path + ", skipping\n");
  EXPECT_EQ(run.run.logs.size(), 2U);
  EXPECT_EQ(run.run.logs.at(none).path, none);
}

TEST(LogOption, NamesWhatHoldsNoEventLog) {
  const TempDirectory directory;
  const std::string text = directory.AddFile("system.evtx", "just some text, no log");
  const std::string empty = directory.AddFile("empty", "");
  const PreparedRun run({"-log", empty + "|" + text});
  EXPECT_EQ(run.said,
            "no event log in " + empty + ", skipping\nno event log in " + text + ", skipping\n");
  EXPECT_TRUE(run.run.logs.at(text).format_unknown);
}

TEST(LogOption, StaysSilentOnABareChunk) {
  const TempDirectory directory;
  const std::string chunk = directory.AddFile("chunk", "ElfChnk" + std::string(70'000, '\0'));
  const PreparedRun run({"-log", chunk});
  EXPECT_EQ(run.said, "");
  EXPECT_TRUE(run.run.logs.at(chunk).format_unknown);
}

TEST(LogOption, KnowsAnEvtLogByItsRecordsMarkWhereItsHeaderIsDamaged) {
  const TempDirectory directory;
  const std::string evt = directory.AddFile("evt", "\x31" + EmptyEvt().substr(1));
  const PreparedRun run({"-log", evt});
  EXPECT_EQ(run.said, "");
  EXPECT_TRUE(run.run.logs.at(evt).format_unknown);
  EXPECT_FALSE(run.run.logs.at(evt).is_evtx);
}

TEST(LogOption, LetsNothingLeakFromOnePieceToTheNext) {
  const TempDirectory directory;
  const std::string evt = directory.AddFile("SysEvent.Evt", EmptyEvt());
  const std::string none = directory.path + "/none";
  const PreparedRun run({"-log", evt + "|" + none});
  EXPECT_FALSE(run.run.logs.at(evt).is_evtx);
  EXPECT_FALSE(run.run.logs.at(evt).format_unknown);
  EXPECT_EQ(run.run.logs.at(evt).kind, kKindSystem);
  EXPECT_TRUE(run.run.logs.at(none).is_evtx);
  EXPECT_TRUE(run.run.logs.at(none).format_unknown);
  EXPECT_NE(run.run.logs.at(none).kind, kKindSystem);
}

TEST(LogOption, ExpandsVariablesInItsPaths) {
  const TempDirectory directory;
  directory.AddFile("Security.evtx", EmptyEvtx());
  setenv("TARNLEX_LOGDIR", directory.path.c_str(), 1);
  const PreparedRun run({"-log", "%TARNLEX_LOGDIR%/Security.evtx"});
  EXPECT_EQ(run.said, "");
  EXPECT_EQ(run.run.logs.at(directory.path + "/Security.evtx").kind, kKindSecurity);
}

TEST(SystemSources, ClashWithPipeAndLog) {
  for (const std::string option : {"-livesys", "-partition", "-vss"}) {
    std::vector<std::string> args = {option};
    if (option != "-livesys") args.push_back("1");
    args.insert(args.begin(), {"-log", "/none", "-quiet"});
    const PreparedRun with_log(args);
    EXPECT_FALSE(with_log.prepared);
    EXPECT_EQ(with_log.said, "prob opening log /none, skipping\nError, can't use " + option +
                                 " with -log option, aborting\n");
    args.insert(args.begin(), "-pipe");
    const PreparedRun with_pipe(args);
    EXPECT_FALSE(with_pipe.prepared);
    EXPECT_EQ(with_pipe.said, "prob opening log /none, skipping\nError, can't use " + option +
                                  " with -pipe option, aborting\n");
  }
}

TEST(SystemSources, HandleOnlyTheFirstOfThree) {
  const ParsedOptions run({"-vss", "1", "-livesys", "-partition", "/mnt"});
  EXPECT_TRUE(run.options.live_system);
  EXPECT_FALSE(run.options.partition || run.options.shadow_copy);
  EXPECT_EQ(run.rest, (Arguments{"/bin/tarnlex.exe", "-vss", "1", "-partition", "/mnt"}));
}

// The examiner's rights decide which of the two answers fits; neither can find a log here.
TEST(LiveSystem, AnswersWithItsMessagesOutsideWindows) {
  const PreparedRun run({"-livesys"});
  EXPECT_FALSE(run.prepared);
  EXPECT_EQ(run.said, geteuid() == 0
                          ? "probs getting information about eventlogs, aborting\n"
                          : "Not running w/ admin privileges... pls restart with admin privs\n");
}

TEST(ShadowCopy, AnswersWithItsMessagesOutsideWindows) {
  const PreparedRun run({"-vss", "3"});
  EXPECT_FALSE(run.prepared);
  EXPECT_EQ(run.said,
            geteuid() == 0
                ? "-vss option only applies to Vista, Win7, Win8 and beyond\n"
                : "This option requires admin privileges...\nneed to restart cmd prompt using "
                  "\"Run As Administrator\" option...\n");
}

TEST(Partition, FindsNothingForADriveLetterOutsideWindows) {
  for (const char* volume : {"d", "C", ""}) {
    const PreparedRun run({"-partition", volume});
    EXPECT_FALSE(run.prepared);
    EXPECT_EQ(run.said, "No eventlogs found in system directory\n");
  }
}

TEST(Partition, ListsTheLogsOfAMountedVolumeInAnyCase) {
  const TempDirectory directory;
  const std::string logs = "WINDOWS/system32/WinEvt/Logs/";
  for (const char* name : {"system.evtx", "Security.evtx", "Old.evt", "readme.txt",
                           "Microsoft-Windows-DriverFrameworks-UserMode%4Operational.evtx"}) {
    directory.AddFile(logs + name, EmptyEvtx());
  }
  const PreparedRun run({"-partition", directory.path});
  EXPECT_TRUE(run.prepared);
  EXPECT_EQ(run.said, "");
  const std::string place = directory.path + "/" + logs;
  EXPECT_EQ(PathsOf(run.run.logs),
            (std::vector<std::string>{
                place + "Microsoft-Windows-DriverFrameworks-UserMode%4Operational.evtx",
                place + "Security.evtx", place + "system.evtx"}));
  const LogInfo& security = run.run.logs.at(place + "Security.evtx");
  EXPECT_EQ(security.path, place + "Security.evtx");
  EXPECT_EQ(security.kind, kKindSecurity);
  EXPECT_TRUE(security.is_evtx);
  EXPECT_FALSE(security.format_unknown);
  EXPECT_EQ(run.run.logs.begin()->second.kind,
            "microsoft-windows-driverframeworks-usermode%4operational");
}

TEST(Partition, PrefersTheConfigDirectoryOfWindowsXp) {
  const TempDirectory directory;
  for (const char* name : {"SysEvent.Evt", "SecEvent.Evt", "AppEvent.evt", "Internet.evt"}) {
    directory.AddFile(std::string("Windows/System32/config/") + name, EmptyEvt());
  }
  directory.AddFile("Windows/System32/winevt/logs/System.evtx", EmptyEvtx());
  const PreparedRun run({"-partition", directory.path + "/"});
  EXPECT_TRUE(run.prepared);
  std::vector<std::string> kinds;
  for (const auto& [path, log] : run.run.logs) {
    EXPECT_FALSE(log.is_evtx);
    kinds.push_back(log.kind);
  }
  EXPECT_EQ(kinds, (std::vector<std::string>{"application", "internet", "security", "system"}));
}

// The folder an image is mounted on belongs to the examiner and says nothing about its logs.
TEST(Partition, IgnoresWinevtInTheMountPoint) {
  const TempDirectory directory;
  directory.AddFile("winevt/Windows/System32/config/SysEvent.Evt", EmptyEvt());
  const PreparedRun run({"-partition", directory.path + "/winevt"});
  EXPECT_TRUE(run.prepared);
  ASSERT_EQ(run.run.logs.size(), 1U);
  EXPECT_FALSE(run.run.logs.begin()->second.is_evtx);
}

TEST(ScanLogDirectory, BelievesTheBytesOfALogBeforeItsName) {
  const TempDirectory directory;
  directory.AddFile("winevt/xp.evtx", EmptyEvt());
  directory.AddFile("winevt/vista.evtx", EmptyEvtx());
  directory.AddFile("config/vista.evt", EmptyEvtx());
  directory.AddFile("config/xp.evt", EmptyEvt());
  LogTable table;
  for (const char* folder : {"/winevt", "/config"}) {
    ASSERT_TRUE(ScanLogDirectory(table, directory.path + folder));
    ASSERT_EQ(table.size(), 2U);
    EXPECT_TRUE(table.begin()->second.is_evtx);
    EXPECT_FALSE(table.rbegin()->second.is_evtx);
  }
}

TEST(ScanLogDirectory, GoesByWinevtInThePath) {
  const TempDirectory directory;
  for (const char* name : {"WinEvt/a.evtx", "WinEvt/b.evt", "Config/a.EVTX", "Config/b.EVT"}) {
    directory.AddFile(name, "");
  }
  LogTable table;
  table["stale"] = LogInfo{};
  EXPECT_TRUE(ScanLogDirectory(table, directory.path + "/WinEvt"));
  EXPECT_EQ(PathsOf(table), std::vector<std::string>{directory.path + "/WinEvt/a.evtx"});
  EXPECT_TRUE(ScanLogDirectory(table, directory.path + "/Config"));
  EXPECT_EQ(PathsOf(table), std::vector<std::string>{directory.path + "/Config/b.EVT"});
  EXPECT_FALSE(ScanLogDirectory(table, directory.path + "/none"));
  EXPECT_TRUE(table.empty());
}

TEST(Partition, WithCompleteRecordsTellAKindBeforeTheName) {
  support::EvtxBuilder log;
  log.AddEvent({.event_id = 4624, .channel = "Security"});
  const support::ByteString bytes = log.Build();
  const TempDirectory directory;
  const std::string logs = "Windows/System32/winevt/logs/";
  directory.AddFile(logs + "System.evtx", EmptyEvtx());
  directory.AddFile(logs + "Archive-1.evtx", std::string(bytes.begin(), bytes.end()));
  const auto kinds = [&](std::vector<std::string> args) {
    args.insert(args.end(), {"-partition", directory.path + "/"});
    const PreparedRun run(args);
    std::vector<std::string> found;
    for (const auto& [path, info] : run.run.logs) found.push_back(info.kind);
    return found;
  };
  EXPECT_EQ(kinds({}), (std::vector<std::string>{"archive-1", "system"}));
  EXPECT_EQ(kinds({"-complete"}), (std::vector<std::string>{"security", "system"}));
}

}  // namespace
}  // namespace tarnlex
