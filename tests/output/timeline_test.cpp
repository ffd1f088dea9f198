// Both timeline forms.
#include <gtest/gtest.h>

#include <algorithm>
#include <string>

#include "output/bodyfile.h"
#include "output/log2timeline.h"
#include "output/table.h"
#include "tests/output/row_maker.h"

namespace tarnlex {
namespace {

constexpr char kL2tHeader[] =
    "date,time,timezone,MACB,source,sourcetype,type,user,host,short,desc,version,filename,inode,"
    "notes,format,extra\n";
constexpr char kBodyHeader[] =
    "md5|name|inode|mode as string|uid|gid|size|access time|modify time|mft time|create time\n";

RunOptions L2tOptions() {
  RunOptions options;
  options.l2t_form = true;
  options.separator = ",";
  options.separator_class = {',', ' '};
  return options;
}

RunOptions BodyOptions() {
  RunOptions options;
  options.bodyfile_form = true;
  options.separator = "|";
  return options;
}

// Both forms of writer clear `header_pending` when they write a header.
std::string Print(const EventRows& rows, const RunOptions& options, bool& header_pending,
                  const LogInfo& log = LogAt("a.evtx")) {
  std::string text;
  TextSink sink = MakeStringSink(text);
  WriteLogResults(sink, rows, log, options, header_pending);
  Flush(sink);
  return text;
}

std::string LineOf(const EventRows& rows, const RunOptions& options,
                   const LogInfo& log = LogAt("a.evtx")) {
  bool header_pending = false;
  return Print(rows, options, header_pending, log);
}

TEST(Log2Timeline, WritesEveryFieldOfAnEvent) {
  EventRows rows;
  AddRow(rows, {.record = 12,
                .provider = "Prov",
                .name = "logon",
                .values = {{"Computer", "PC1"}, {"User", "a,b"}}});
  LogInfo log = LogAt("C:/Security.evtx");
  log.kind = "security";
  log.aux_value = 77;
  RunOptions options = L2tOptions();
  options.username = "examiner";
  bool header_pending = true;
  EXPECT_EQ(Print(rows, options, header_pending, log),
            std::string(kL2tHeader) +
                "03/07/2012, 14:05:09.123,UTC,MACB,EVTX,security,Event Logged,examiner,PC1,"
                "Event ID: 4624 : logon,[Computer:PC1] [User:a;b],2,C:/Security.evtx,77,"
                "Provider: Prov,tarnlex (mirafen),Record# 12\n");
  EXPECT_FALSE(header_pending);
}

TEST(Log2Timeline, LeavesEmptyWhatAnEventLacks) {
  EventRows rows;
  AddRow(rows, {.record = 1});
  EXPECT_EQ(LineOf(rows, L2tOptions(), LogAt("x.evt", false)),
            "03/07/2012, 14:05:09.123,UTC,MACB,EVT,unk,Event Logged,,,Event ID: 4624,,2,x.evt,0,,"
            "tarnlex (mirafen),Record# 1\n");
}

TEST(Log2Timeline, NamesTheGivenHostOnlyWhereTheEventNamesNone) {
  RunOptions options = L2tOptions();
  options.hostname = "GIVEN";
  const auto host = [&options](std::string_view name, std::string_view value, bool is_evtx) {
    EventRows rows;
    AddRow(rows, {.values = {{name, value}}});
    const std::string line = LineOf(rows, options, LogAt("x", is_evtx));
    const std::size_t from = line.find("Event Logged,,") + 14;
    return line.substr(from, line.find(',', from) - from);
  };
  EXPECT_EQ(host("Computer", "OWN", true), "OWN");
  EXPECT_EQ(host("Computer", "", true), "GIVEN");
  EXPECT_EQ(host("other", "OWN", true), "GIVEN");
  EXPECT_EQ(host("computer name", "OLD", false), "OLD");
  EXPECT_EQ(host("Computer", "OWN", false), "GIVEN");
}

TEST(Log2Timeline, NamesTheHostThatIsKeptForARow) {
  EventRows rows;
  AddRow(rows, {.record = 1});
  AddRow(rows, {.record = 2, .values = {{"Computer", "OWN"}}});
  AddRow(rows, {.record = 3});
  rows.hosts = {"KEPT", "OTHER"};
  RunOptions options = L2tOptions();
  options.hostname = "GIVEN";
  const std::string text = LineOf(rows, options);
  const auto names = [&text](std::string_view host) {
    return text.find("Event Logged,," + std::string(host) + ",") != std::string::npos;
  };
  EXPECT_TRUE(names("KEPT") && names("OWN") && names("GIVEN")) << text;
  EXPECT_FALSE(names("OTHER")) << text;
}

TEST(Log2Timeline, HoldsASeparatorOfAnyKindBetweenFieldsOnly) {
  RunOptions options = L2tOptions();
  options.separator = ":";
  options.separator_class = {':', ' '};
  EventRows rows;
  AddRow(rows, {.provider = "P", .name = "n", .values = {{"a:b", "1:2"}}});
  const std::string line = LineOf(rows, options);
  EXPECT_EQ(std::count(line.begin(), line.end(), ':'), 16) << line;
}

TEST(Log2Timeline, PairsDateAndTimeOnRequest) {
  EventRows rows;
  AddRow(rows, {});
  RunOptions options = L2tOptions();
  options.pair_datetime = true;
  bool header_pending = true;
  const std::string text = Print(rows, options, header_pending);
  EXPECT_EQ(text.rfind("date/time,timezone,MACB,", 0), 0U) << text;
  EXPECT_NE(text.find("\n03/07/2012 14:05:09.123,UTC,"), std::string::npos) << text;
}

TEST(Log2Timeline, PutsNoBlankBeforeTheTimeWithoutPadding) {
  EventRows rows;
  AddRow(rows, {});
  RunOptions options = L2tOptions();
  options.delimited = true;
  EXPECT_EQ(LineOf(rows, options).rfind("03/07/2012,14:05:09.123,UTC,", 0), 0U);
}

TEST(Log2Timeline, SkipsEventsWithoutAValidTime) {
  EventRows rows;
  AddRow(rows, {.record = 1, .time = 0});
  const RunOptions options = L2tOptions();
  bool header_pending = true;
  EXPECT_EQ(Print(rows, options, header_pending), "");
  EXPECT_TRUE(header_pending);
  AddRow(rows, {.record = 2});
  const std::string text = Print(rows, options, header_pending);
  EXPECT_EQ(std::count(text.begin(), text.end(), '\n'), 2);
  EXPECT_NE(text.find("Record# 2\n"), std::string::npos);
}

TEST(Log2Timeline, KeepsEveryEventOnOneLineWithAllItsFields) {
  EventRows rows;
  AddRow(rows, {.provider = "p,q\n", .name = "n,\r\n", .values = {{"a,b", "1\n2"}}});
  LogInfo log = LogAt("x,y.evtx");
  log.kind = "k,l";
  RunOptions options = L2tOptions();
  options.username = "u,v";
  options.hostname = "h\ri";
  options.date_format = "mmm dd, yy";
  const std::string line = LineOf(rows, options, log);
  EXPECT_EQ(line,
            "Mar 07  12, 14:05:09.123,UTC,MACB,EVTX,k l,Event Logged,u v,h[CR]i,"
            "Event ID: 4624 : n [CRLF],[a b:1[LF]2],2,x y.evtx,0,Provider: p q[LF],"
            "tarnlex (mirafen),Record# 1\n");
  EXPECT_EQ(std::count(line.begin(), line.end(), ','), 16);
}

TEST(Log2Timeline, WritesTheInodeInHexadecimalOnRequest) {
  EventRows rows;
  AddRow(rows, {});
  LogInfo log = LogAt("a");
  log.aux_value = 0x2A;
  RunOptions options = L2tOptions();
  options.hex_numbers = true;
  EXPECT_NE(LineOf(rows, options, log).find(",a,0x0000002a,,"), std::string::npos)
      << LineOf(rows, options, log);
}

TEST(Log2Timeline, WritesNothingForALogWithoutRows) {
  EventRows rows;
  const RunOptions options = L2tOptions();
  bool header_pending = true;
  EXPECT_EQ(Print(rows, options, header_pending), "");
  EXPECT_TRUE(header_pending);
}

TEST(Timelines, WriteTheirHeaderOncePerRun) {
  EventRows rows;
  AddRow(rows, {});
  for (const RunOptions& options : {L2tOptions(), BodyOptions()}) {
    bool header_pending = true;
    const std::string first = Print(rows, options, header_pending);
    const std::string second = Print(rows, options, header_pending);
    EXPECT_EQ(std::count(first.begin(), first.end(), '\n'), 2);
    EXPECT_EQ(std::count(second.begin(), second.end(), '\n'), 1);
  }
}

TEST(Bodyfile, WritesOneLinePerEvent) {
  EventRows rows;
  AddRow(rows, {.name = "logon/interactive", .values = {{"User", "x"}}});
  bool header_pending = true;
  EXPECT_EQ(Print(rows, BodyOptions(), header_pending),
            std::string(kBodyHeader) +
                "0|Event ID: 4624-logon/interactive|0||0|0|0|"
                "1331129109|1331129109|1331129109|1331129109\n");
}

std::string NameWith(std::vector<std::pair<std::string_view, std::string_view>> values,
                     RunOptions options = BodyOptions()) {
  EventRows rows;
  AddRow(rows, {.event = 7, .values = std::move(values)});
  options.all_params = true;
  const std::string line = LineOf(rows, options);
  return line.substr(2, line.find('|', 2) - 2);
}

TEST(Bodyfile, AllParamsCutsTheLastTwoCharacters) {
  EXPECT_EQ(NameWith({}), "Event ID: 7");
  EXPECT_EQ(NameWith({{"a", "1"}}), "Event ID: 7, [a:1]");
  EXPECT_EQ(NameWith({{"a", "1"}, {"b", "2"}}), "Event ID: 7, [a:1], [b:2]");
  EXPECT_EQ(NameWith({{"a", "1,2"}, {"b", "3"}}), "Event ID: 7, [a:1;2] [b:3]");
  EXPECT_EQ(NameWith({{"a", "1"}, {"b", "2,3"}}), "Event ID: 7, [a:1], [b:2;3");
}

TEST(Bodyfile, KeepsCompleteNamesWholeAndApart) {
  RunOptions options = BodyOptions();
  options.complete = true;
  EXPECT_EQ(NameWith({{"a", "1"}, {"b", "2,3"}}, options), "Event ID: 7, [a:1], [b:2;3]");
  EXPECT_EQ(NameWith({{"a%", "%41|%%\n%"}}, options), "Event ID: 7, [a%25:%2541;%25%25[LF]%25]");
  EXPECT_EQ(NameWith({{"a", "%41"}}), "Event ID: 7, [a:%41]");
  EventRows rows;
  AddRow(rows, {.record = 12, .event = 7, .name = "100%"});
  EXPECT_EQ(LineOf(rows, options).rfind("0|Event ID: 7-100%25|12||0|0|0|1331129109|", 0), 0U);
}

TEST(Bodyfile, KeepsItsFieldsWhateverTheSeparatorOptionSays) {
  RunOptions options = BodyOptions();
  options.separator = "\t";
  options.separator_class = {0, 0};
  EXPECT_EQ(NameWith({{"a|b", "1|2\r\n"}}, options), "Event ID: 7, [a;b:1;2[CRLF]]");
}

TEST(Bodyfile, CountsSecondsByItsOwnRule) {
  EXPECT_EQ(BodyfileSeconds(kMarch2012), 1331129109U);
  EXPECT_EQ(BodyfileSeconds(0), 0U);
  EXPECT_EQ(BodyfileSeconds(std::uint64_t{1} << 63), 0U);
  EXPECT_EQ(BodyfileSeconds(1), 1833029933770U);
  EventRows rows;
  AddRow(rows, {.event = 7, .time = 0});
  EXPECT_EQ(LineOf(rows, BodyOptions()), "0|Event ID: 7|0||0|0|0|0|0|0|0\n");
}

TEST(Bodyfile, WritesNothingForALogWithoutRows) {
  EventRows rows;
  bool header_pending = true;
  EXPECT_EQ(Print(rows, BodyOptions(), header_pending), "");
  EXPECT_TRUE(header_pending);
}

}  // namespace
}  // namespace tarnlex
