#include "app/remarks.h"

#include <gtest/gtest.h>

#include "app/option_table.h"
#include "tests/app/parsed_options.h"

namespace tarnlex {
namespace {

using Texts = std::vector<std::string>;

Texts Remarks(Texts arguments) {
  arguments.insert(arguments.begin(), "tarnlex");
  return RemarksOn(arguments, kNow);
}

TEST(Remarks, AreNoneOnAWellFormedCommandLine) {
  EXPECT_EQ(Remarks({}), Texts{});
  EXPECT_EQ(Remarks({"-log", "a|b", "-eventid", "4624; 4720-4767", "-start_time", "-2d",
                     "-stop_time", "2023-03-14", "-csvgen", "-stats", "s", "-hist", "x",
                     "-username", "-me", "-string", "-enc", "-csv_separator", "-"}),
            Texts{});
  EXPECT_EQ(Remarks({"-log", "a", "-report", "rdp|services", "-event_json"}), Texts{});
  EXPECT_EQ(Remarks({"-LOG", "a", "-logon", "-bodyfile", "-allparams", "-strict"}), Texts{});
}

struct Misuse {
  Texts arguments;
  std::string remark;
};

// Each of them gave wrong rows and said nothing.
const Misuse kMisuses[] = {
    {{"-evntid", "7045"}, "ignoring -evntid, no such option; did you mean -eventid?"},
    {{"--eventid", "7045"}, "ignoring --eventid, no such option; did you mean -eventid?"},
    {{"-eventid=7045"},
     "ignoring -eventid=7045, a value stands apart from its option: -eventid 7045"},
    {{"-start-time", "X"}, "ignoring -start-time, no such option; did you mean -start_time?"},
    {{"-start_time", "2030-13-45"}, "ignoring -start_time 2030-13-45, no such time"},
    {{"-eventid", "4624", "-eventid", "4625"},
     "ignoring the second -eventid (4625), the first counts"},
    {{"-log", "A", "-log", "B"}, "ignoring the second -log (B), the first counts"},
    {{"-log", "A", "B"}, "ignoring B, left over; several logs are one argument: -log \"A | B\""},
    {{"-out", "-csvgen"}, "the value of -out reads like an option: -csvgen"},
};

TEST(Remarks, NameEveryMisuseThatGaveWrongRows) {
  for (const Misuse& misuse : kMisuses) {
    EXPECT_EQ(Remarks(misuse.arguments), Texts{misuse.remark});
  }
}

TEST(Remarks, NameWhatHasNoEffectBesideOthers) {
  EXPECT_EQ(Remarks({"-eventid", "1", "-logon"}),
            Texts{"ignoring -eventid, -logon picks its own events"});
  EXPECT_EQ(Remarks({"-eventid", "1", "-cmdfile", "f"}),
            Texts{"ignoring -eventid, -cmdfile picks its own events"});
  EXPECT_EQ(Remarks({"-allparams"}), Texts{"ignoring -allparams, it goes with -bodyfile"});
  EXPECT_EQ(Remarks({"-hist", "x"}), Texts{"ignoring -hist, it goes with -stats"});
  EXPECT_EQ(Remarks({"-timesketch"}), Texts{"ignoring -timesketch, it goes with -json"});
  EXPECT_EQ(Remarks({"-width", "9"}), Texts{"ignoring -width, it goes with -cards"});
  EXPECT_EQ(Remarks({"-columns", "A", "-bodyfile"}), Texts{"ignoring -columns beside -bodyfile"});
  EXPECT_EQ(Remarks({"-columns", "A", "-event_json"}),
            Texts{"ignoring -columns beside -event_json"});
  EXPECT_EQ(Remarks({"-columns", "A", "-multiline", "-csvl2t"}),
            Texts{"ignoring -csvl2t beside -multiline"});
  EXPECT_EQ(Remarks({"-csv", "-json"}), Texts{"ignoring -csv beside -json"});
  EXPECT_EQ(Remarks({"-csv", "-bodyfile"}), Texts{"ignoring -csv beside -bodyfile"});
  EXPECT_EQ(Remarks({"-outfile", "a", "-out", "b"}), Texts{"ignoring -outfile beside -out"});
  EXPECT_EQ(Remarks({"-vss", "1", "-partition", "/m"}), Texts{"ignoring -vss beside -partition"});
  EXPECT_EQ(Remarks({"-quiet", "-version"}), Texts{"ignoring -version, it stands alone"});
  EXPECT_EQ(Remarks({"-pipe", "-log", "a"}), Texts{}) << "the run itself says so";
  EXPECT_EQ(Remarks({"-pipe", "-log", "a", "-strict"}), Texts{"ignoring -log, paths are piped in"});
}

TEST(Remarks, NameValuesThatCannotBeRead) {
  EXPECT_EQ(Remarks({"-eventid", "x,4625abc"}),
            (Texts{"ignoring x of -eventid, no number",
                   "-eventid takes 4625abc for the number that it begins with"}));
  EXPECT_EQ(Remarks({"-stop_time", "X"}), Texts{"ignoring -stop_time X, no such time"});
  EXPECT_EQ(Remarks({"-columns", " | "}), Texts{"ignoring -columns, it names none"});
  EXPECT_EQ(Remarks({"-cards", "-width", "80x"}),
            Texts{"ignoring -width 80x, no number of characters"});
  EXPECT_EQ(Remarks({"-color", "red"}), Texts{"ignoring -color red, it is auto, always or never"});
  EXPECT_EQ(Remarks({"-cards", "-width", "80", "-color", "Never", "-columns", "A"}), Texts{});
  EXPECT_EQ(Remarks({"-start_time", "2023-03-14", "-stop_time", "2023-03-13"}),
            Texts{"no event passes, -start_time is later than -stop_time"});
}

TEST(Remarks, NameTheFirstOfManyArgumentsLeftOver) {
  EXPECT_EQ(Remarks({"a", "b", "c", "d", "e"}), Texts{"ignoring a, b, c and 2 more, left over"});
}

// What the parser takes out of a command line is what the table knows, no more and no less.
TEST(OptionTable, KnowsTheOptionsThatTheParserTakes) {
  for (const OptionEntry& entry : OptionTable()) {
    const bool is_request = entry.name == "-options" || entry.name.ends_with("version") ||
                            entry.name.ends_with("h") || entry.name.ends_with("help") ||
                            entry.name == "/?";
    if (is_request || entry.name == "-sqlite") continue;
    Texts arguments = {std::string(entry.name)};
    if (!entry.value.empty()) arguments.emplace_back("12|13");
    if (entry.name == "-allparams") arguments.emplace_back("-bodyfile");
    if (entry.name == "-timesketch") arguments.emplace_back("-json");
    if (entry.name == "-hist") arguments.insert(arguments.end(), {"-stats", "s"});
    const ParsedOptions run(arguments);
    EXPECT_EQ(run.rest.size(), 1U) << entry.name;
  }
}

}  // namespace
}  // namespace tarnlex
