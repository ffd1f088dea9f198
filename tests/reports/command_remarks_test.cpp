#include "reports/command_remarks.h"

#include <gtest/gtest.h>

namespace tarnlex {
namespace {

using Texts = std::vector<std::string>;

Texts Remarks(std::string_view text) { return RemarksOnCommands(text, "f"); }

TEST(CommandRemarks, AreNoneOnWellFormedLines) {
  EXPECT_EQ(Remarks("// a comment, -nonsense\n\nanything\n!run- x\r\n"
                    "x !cmd, -enum_evtxlog, -id, 0x10, -name, -csv, -comment, -x y, -pull, A, "
                    "-pull, B, -conditions, LogonType|3, -event_lookup, -hist, A|B\r\n"
                    "!cmd, -enum_evtlog, -pull, 1|User, -conditions, string|x, -success_type, 8, "
                    "-start_time, 2023-03-14T10:00:00Z, -stop_time, 03/15/2023, -type, system, "
                    "-log, a, -string_exists, b, -all_data\r\n"
                    "!cmd, -enum_evtxlog, -and, A|b, -and, C, -not, A|c, -not, B, -channel, c d, "
                    "-provider, p, -pull, A, -pull, B, -label, A=a, -label, B=b\r\n"
                    "!cmd, -enum_evtlog, -and, 1|b, -not, source_name|c, -provider, p, "
                    "-pull, 1|A, -pull, 02, -label, 1=a, -label, 2=b"),
            Texts{});
}

TEST(CommandRemarks, TellTheLine) {
  EXPECT_EQ(Remarks("\xEF\xBB\xBF// head\n!cmd, -enum_evtxlog, -conditons, a|b\n"),
            Texts{"f line 2: ignoring -conditons, no such option; did you mean -conditions?"});
}

struct Line {
  const char* text;
  const char* remark;
};

TEST(CommandRemarks, NameWhatALineAsksForInVain) {
  for (const Line& line : {
           Line{"!cmd, -id, 1", "no query, neither -enum_evtxlog nor -enum_evtlog is there"},
           Line{"!cmd, -enum_evtlog, -enum_evtxlog", "ignoring -enum_evtlog beside -enum_evtxlog"},
           Line{"!cmd, -enum_evtxlog, -id, y1", "no query, -id y1 is no number"},
           Line{"!cmd, -enum_evtxlog, -id, 1-5",
                "-id takes 1-5 for the number that it begins with"},
           Line{"!cmd, -enum_evtxlog, -start_time, soon",
                "ignoring -start_time soon, no such time"},
           Line{"!cmd, -enum_evtxlog, -conditions, ", "ignoring -conditions, it names no field"},
           Line{"!cmd, -enum_evtxlog, -conditions, |x", "no event passes, none has a field \"\""},
           Line{"!cmd, -enum_evtlog, -conditions, LogonType|2",
                "no event passes, none has a field \"LogonType\""},
           Line{"!cmd, -enum_evtxlog, -success_type, critical",
                "no event passes, there is no -success_type critical"},
           Line{"!cmd, -enum_evtxlog, -and, A, -and, ", "ignoring -and, it names no field"},
           Line{"!cmd, -enum_evtlog, -and, 1, -and, LogonType|2",
                "no event passes, none has a field \"LogonType\""},
           Line{"!cmd, -enum_evtlog, -not, LogonType|2",
                "every event passes -not LogonType|2, none has that field"},
           Line{"!cmd, -enum_evtlog, -channel, System",
                "no event passes, EVT events name no channel; -type tells their logs apart"},
           Line{"!cmd, -enum_evtxlog, -pull, A, -label, A",
                "ignoring -label A, it is no NAME=HEADER"},
           Line{"!cmd, -enum_evtxlog, -pull, A, -label, B=b",
                "ignoring -label B=b, B is not pulled"},
           Line{"!cmd, -enum_evtxlog, -pull, A, -all_data, -label, A=b",
                "ignoring -label A=b, A is not pulled"},
           Line{"!cmd, -enum_evtlog, -pull, 1|A, -label, 2=b",
                "ignoring -label 2=b, 2 is not pulled"},
           Line{"!cmd, -enum_evtxlog, -channle, x",
                "ignoring -channle, no such option; did you mean -channel?"},
           Line{"!cmd, -enum_evtlog, -pull, User", "ignoring -pull User, no number of a string"},
           Line{"!cmd, -enum_evtxlog, -name, a, b",
                "ignoring b, left over; no value holds a comma"},
           Line{"!cmd, -enum_evtxlog, -id, 1, -id, 2",
                "ignoring the second -id (2), the first counts"},
           Line{"!CMD, -enum_evtxlog", "no query, one begins with \"!cmd,\""},
           Line{"!cmd -enum_evtxlog", "no query, one begins with \"!cmd,\""},
       }) {
    EXPECT_EQ(Remarks(line.text), Texts{std::string("f line 1: ") + line.remark});
  }
}

}  // namespace
}  // namespace tarnlex
