#include "app/run_header.h"

#include <gtest/gtest.h>

#include "app/usage.h"
#include "logs/date_time.h"

namespace tarnlex {
namespace {

constexpr std::uint64_t kNow = kUnixEpochFiletime + 1331115302ULL * kTicksPerSecond;

TEST(RunHeader, SaysWhatRanWhenAndWhere) {
  const Arguments args = {"tarnlex", "-log", "x.evtx"};
  EXPECT_EQ(BuildRunHeader(args, kNow),
            "tarnlex ver: 0.33\n"
            "run time: 03/07/2012 10:15:02 [UTC]; Host: " +
                HostName() + "; MachineInfo: " + MachineText(DescribeMachine("tarnlex")) +
                "\n"
                "\"cmdline: tarnlex -log x.evtx\"\n");
}

TEST(RunHeader, UsesTheDateFormatOfTheRun) {
  const std::string header =
      BuildRunHeader({"tarnlex", "-log", "x.evtx", "-DateFormat", "yyyy-mm-dd"}, kNow);
  EXPECT_NE(header.find("run time: 2012-03-07 10:15:02 [UTC]"), std::string::npos) << header;
}

TEST(CommandLineText, WrapsArgumentsWithBlanksInSingleQuotes) {
  EXPECT_EQ(CommandLineText({"tarnlex.exe", "-log", "C:\\my logs\\a.evtx"}),
            "\"cmdline: tarnlex.exe -log 'C:\\my logs\\a.evtx'\"");
}

TEST(CommandLineText, ShowsThatPathsArePiped) {
  EXPECT_EQ(CommandLineText({"tarnlex.exe", "-pipe", "-csv"}),
            "\"cmdline: <filelist> ... | tarnlex.exe -pipe -csv\"");
}

TEST(MachineText, JoinsFieldsAndKeepsThemSplittable) {
  MachineInfo machine;
  machine.os_family = "Windows";
  machine.os_release = "6.1.workstation.sp.1.0";
  machine.os_version = "6.1;7601";
  machine.is_64bit = true;
  machine.valid = true;
  EXPECT_EQ(MachineText(machine), "Windows;6.1.workstation.sp.1.0;6.1 7601;64");
  machine.is_64bit = false;
  EXPECT_EQ(MachineText(machine), "Windows;6.1.workstation.sp.1.0;6.1 7601;32");
  machine.valid = false;
  EXPECT_EQ(MachineText(machine), "");
}

TEST(WantsHelp, HearsEverySpellingInAnyPlace) {
  for (const char* request : {"-h", "-HELP", "/?", "--help"}) {
    EXPECT_TRUE(WantsHelp({"tarnlex", "-log", "x", request, "-csv"})) << request;
  }
  EXPECT_TRUE(WantsHelp({"tarnlex"}));
  EXPECT_FALSE(WantsHelp({"tarnlex", "-helpme", "-?"}));
}

}  // namespace
}  // namespace tarnlex
