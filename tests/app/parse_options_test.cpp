#include "app/parse_options.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <vector>

#include "logs/date_time.h"
#include "tests/app/parsed_options.h"

namespace tarnlex {
namespace {

using Ids = std::vector<std::uint64_t>;
using Texts = std::vector<std::string>;

constexpr std::uint64_t FiletimeOf(std::uint64_t unix_seconds) {
  return kUnixEpochFiletime + unix_seconds * kTicksPerSecond;
}

TEST(EventIdOption, TakesEveryIdentifierWhenAbsent) {
  EXPECT_EQ(ParsedOptions({}).options.event_ids, Ids{kAnyEventId});
}

TEST(EventIdOption, SplitsAtTheStrongestSeparator) {
  EXPECT_EQ(ParsedOptions({"-eventid", "0x1200"}).options.event_ids, Ids{4608});
  EXPECT_EQ(ParsedOptions({"-eventid", "4624,4625"}).options.event_ids, (Ids{4624, 4625}));
  EXPECT_EQ(ParsedOptions({"-eventid", "4624 | 4625"}).options.event_ids, (Ids{4624, 4625}));
  EXPECT_EQ(ParsedOptions({"-eventid", "4624 0o17"}).options.event_ids, (Ids{4624, 15}));
  EXPECT_EQ(ParsedOptions({"-eventid", "1, x, 3|4"}).options.event_ids, (Ids{1, 3}));
}

TEST(EventIdOption, SelectsNothingWhenNothingIsReadable) {
  EXPECT_EQ(ParsedOptions({"-eventid", "abc"}).options.event_ids, Ids{});
  EXPECT_EQ(ParsedOptions({"-eventid", ""}).options.event_ids, Ids{});
}

TEST(TimeOptions, SetTheirBounds) {
  const ParsedOptions run({"-start_time", "03/07/2012", "-stop_time", "Mar/07/12 10:00:00"});
  EXPECT_EQ(run.options.start_time, FiletimeOf(1331078400));
  EXPECT_EQ(run.options.stop_time, FiletimeOf(1331078400 + 36000));
}

TEST(TimeOptions, LeaveNoBoundForUnreadableAndEarlyTimes) {
  const ParsedOptions run({"-start_time", "yesterday", "-stop_time", "01/01/31"});
  EXPECT_TRUE(run.parsed);
  EXPECT_EQ(run.said, "");
  EXPECT_EQ(run.options.start_time, 0U);
  EXPECT_EQ(run.options.stop_time, 0U) << "a two-digit year 31 is 1931";
}

TEST(ReportOptions, TakeReportsOfTheLibraryByTheirNames) {
  const ParsedOptions run({"-report", "rdp | LOG_CLEARED|rdp|logon"});
  EXPECT_TRUE(run.parsed);
  EXPECT_EQ(run.options.library_reports, (Texts{"rdp", "log_cleared"}));
  EXPECT_TRUE(run.options.report_logon);
  EXPECT_FALSE(run.options.dump_all || run.options.report_creds);
}

TEST(ReportOptions, EndTheRunAtANameThatNoReportHas) {
  const ParsedOptions run({"-report", "rdp|servics"});
  EXPECT_FALSE(run.parsed);
  EXPECT_EQ(run.said, "there is no report servics, did you mean services?\n");
  EXPECT_EQ(ParsedOptions({"-report", "xyzzyxyzzy"}).said,
            "there is no report xyzzyxyzzy, -report list names all\n");
  EXPECT_FALSE(ParsedOptions({"-report", " | "}).parsed);
}

TEST(ReportOptions, MayBeCombinedAndReplaceThePlainDump) {
  const ParsedOptions run({"-usb", "-PW", "-logon"});
  EXPECT_TRUE(run.options.report_usb && run.options.report_pw && run.options.report_logon);
  EXPECT_FALSE(run.options.report_time || run.options.report_creds || run.options.report_startstop);
  EXPECT_FALSE(run.options.dump_all);
  EXPECT_FALSE(ParsedOptions({"-time"}).options.dump_all);
  EXPECT_TRUE(ParsedOptions({"-startstop"}).options.report_startstop);
  EXPECT_TRUE(ParsedOptions({"-creds"}).options.report_creds);
}

TEST(ReportOptions, CommandFileReplacesThePlainDump) {
  const ParsedOptions run({"-cmdfile", "lines.txt"});
  EXPECT_EQ(run.options.cmd_file, "lines.txt");
  EXPECT_FALSE(run.options.dump_all);
}

TEST(StatsOption, TakesHistogramsOnlyTogether) {
  const ParsedOptions both({"-hist", "a | b|", "-stats", "s.txt"});
  EXPECT_TRUE(both.options.stats_on);
  EXPECT_EQ(both.options.stats_file, "s.txt");
  EXPECT_EQ(both.options.hist_ids, (Texts{"a", "b"}));
  const ParsedOptions alone({"-hist", "a"});
  EXPECT_FALSE(alone.options.stats_on);
  EXPECT_TRUE(alone.options.hist_ids.empty());
  EXPECT_EQ(alone.rest.size(), 3U);
}

TEST(StatsOption, KeepsAHistogramListThatSplitsIntoNothing) {
  EXPECT_EQ(ParsedOptions({"-stats", "s", "-hist", " | "}).options.hist_ids, Texts{" | "});
}

TEST(FilterOptions, TakeSubstringAndAllParameters) {
  EXPECT_EQ(ParsedOptions({"-string", "Abc"}).options.substring, "Abc");
  EXPECT_TRUE(ParsedOptions({"-allparams", "-bodyfile"}).options.all_params);
  EXPECT_FALSE(ParsedOptions({"-allparams", "-csv"}).options.all_params);
}

TEST(PartOption, TakesAPartOfAsManyAsThereAre) {
  const ParsedOptions whole({});
  EXPECT_EQ(whole.options.part, 1U);
  EXPECT_EQ(whole.options.parts, 1U);
  const ParsedOptions run({"-part", "3/8"});
  EXPECT_TRUE(run.parsed);
  EXPECT_EQ(run.options.part, 3U);
  EXPECT_EQ(run.options.parts, 8U);
  EXPECT_TRUE(ParsedOptions({"-part", "65536/65536"}).parsed);
}

TEST(PartOption, IsRefusedWhereItIsNone) {
  for (const char* part : {"0/8", "9/8", "1/0", "1/65537", "3", "/", "1/", "/8", "-1/8", "1/8x",
                           "1 /8", "1/8/8", "99999999999999999999/99999999999999999999", ""}) {
    const ParsedOptions run({"-part", part});
    EXPECT_FALSE(run.parsed) << part;
    EXPECT_EQ(run.said, "no part of a log: " + std::string(part) + ", aborting\n");
  }
}

}  // namespace
}  // namespace tarnlex
