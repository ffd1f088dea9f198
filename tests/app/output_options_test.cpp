#include <gtest/gtest.h>

#include <cstdlib>
#include <map>
#include <string>

#include "tests/app/parsed_options.h"

namespace tarnlex {
namespace {

using Aliases = std::map<std::string, std::string>;

TEST(OutputOptions, StartFromTheTable) {
  const ParsedOptions run({"-unknown", "left"});
  const RunOptions& options = run.options;
  EXPECT_TRUE(run.parsed);
  EXPECT_EQ(run.said, "");
  EXPECT_EQ(run.rest, (Arguments{"/bin/tarnlex.exe", "-unknown", "left"}));
  EXPECT_EQ(options.cmdline, "\"/bin/tarnlex.exe\" \"-unknown\" \"left\"");
  EXPECT_FALSE(options.csv_form);
  EXPECT_TRUE(options.pad_separator);
  EXPECT_TRUE(options.show_status);
  EXPECT_TRUE(options.dump_all);
  EXPECT_FALSE(options.hex_numbers);
  EXPECT_FALSE(options.delimited);
  EXPECT_EQ(options.separator, " | ");
  EXPECT_EQ(options.date_format, "mm/dd/yyyy");
  EXPECT_EQ(options.time_format, "hh:mm:ss.xxx");
}

TEST(OutputOptions, FailForAnEmptyArgumentList) {
  RunOptions options;
  Arguments args;
  std::string complaints;
  EXPECT_FALSE(ParseOutputOptions(options, args, complaints));
  EXPECT_EQ(complaints, "");
}

struct Form {
  const char* option;
  bool RunOptions::*form;
  const char* separator;
  char from;
  char to;
  bool delimited;
};

struct FormTest : testing::TestWithParam<Form> {};

TEST_P(FormTest, SetsItsFlagSeparatorAndReplacement) {
  const Form& form = GetParam();
  const ParsedOptions run({form.option});
  EXPECT_TRUE(run.options.*form.form);
  EXPECT_EQ(run.options.csv_form + run.options.csvgen_form + run.options.l2t_form +
                run.options.bodyfile_form + run.options.xml_form + run.options.multiline_form,
            1);
  EXPECT_EQ(run.options.separator, form.separator);
  EXPECT_EQ(run.options.separator_class.separator, form.from);
  EXPECT_EQ(run.options.separator_class.replacement, form.to);
  EXPECT_EQ(run.options.delimited, form.delimited);
}

INSTANTIATE_TEST_SUITE_P(
    Forms, FormTest,
    testing::Values(Form{"-csv", &RunOptions::csv_form, ",", ',', ' ', true},
                    Form{"-CsvGen", &RunOptions::csvgen_form, ",", ',', ' ', true},
                    Form{"-csvl2t", &RunOptions::l2t_form, ",", ',', ' ', false},
                    Form{"-bodyfile", &RunOptions::bodyfile_form, "|", '|', ';', false},
                    Form{"-xml", &RunOptions::xml_form, "", '\0', '\0', false},
                    Form{"-multiline", &RunOptions::multiline_form, "", '\0', '\0', false}));

TEST(OutputOptions, LetTheLaterFormInTheFixedOrderPrevail) {
  const ParsedOptions run({"-bodyfile", "-csv"});
  EXPECT_TRUE(run.options.bodyfile_form);
  EXPECT_FALSE(run.options.csv_form);
  EXPECT_EQ(run.options.separator, "|");
}

struct Separator {
  const char* text;
  const char* separator;
  char from;
  char to;
};

struct SeparatorTest : testing::TestWithParam<Separator> {};

TEST_P(SeparatorTest, IsKeptAndJudged) {
  const Separator& wanted = GetParam();
  const ParsedOptions run({"-csv_separator", wanted.text, "-csv"});
  EXPECT_EQ(run.options.separator, wanted.separator);
  EXPECT_EQ(run.options.separator_class.separator, wanted.from);
  EXPECT_EQ(run.options.separator_class.replacement, wanted.to);
}

INSTANTIATE_TEST_SUITE_P(
    Separators, SeparatorTest,
    testing::Values(Separator{"|", "|", '|', ';'}, Separator{" |,", " |,", '|', ';'},
                    Separator{", ", ", ", ',', ' '}, Separator{"tab", "\t", '\0', '\0'},
                    Separator{"TAB", "\t", '\0', '\0'}, Separator{"\\t", "\t", '\0', '\0'},
                    Separator{"\\T", "\t", '\0', '\0'}, Separator{";", ";", '\0', '\0'},
                    Separator{"tabs", "tabs", '\0', '\0'}, Separator{"", "", '\0', '\0'}));

struct CompleteSeparatorTest : testing::TestWithParam<Separator> {};

TEST_P(CompleteSeparatorTest, GivesWayToABlank) {
  const Separator& wanted = GetParam();
  const SeparatorClass judged =
      ParsedOptions({"-csv_separator", wanted.text, "-complete"}).options.separator_class;
  EXPECT_EQ(judged.separator, wanted.from);
  EXPECT_EQ(judged.replacement, wanted.to);
  EXPECT_STREQ(judged.character, wanted.separator);
}

// Here the second text is the separator's character of several bytes.
INSTANTIATE_TEST_SUITE_P(
    Separators, CompleteSeparatorTest,
    testing::Values(Separator{"|", "", '|', ';'}, Separator{", ", "", ',', ' '},
                    Separator{"tab", "", '\t', ' '}, Separator{" ;", "", ';', ' '},
                    Separator{"->", "", '>', ' '}, Separator{" - ", "", '-', ' '},
                    Separator{"tabs", "", 't', ' '}, Separator{"", "", '\0', '\0'},
                    Separator{" ", "", '\0', '\0'}, Separator{" §§", "§", '\0', '\0'},
                    Separator{"\xA7", "", '\xA7', ' '}, Separator{"§;", "", ';', ' '}));

TEST(OutputOptions, NoWhitespaceRemovesBlanksFromTheSeparator) {
  const ParsedOptions run({"-no_whitespace"});
  EXPECT_EQ(run.options.separator, "|");
  EXPECT_TRUE(run.options.delimited);
  EXPECT_FALSE(run.options.pad_separator);
  EXPECT_EQ(ParsedOptions({"-no_whitespace", "-csv_separator", "tab"}).options.separator, "\t");
}

TEST(OutputOptions, AcceptDateFormatsOf8And10Characters) {
  EXPECT_EQ(ParsedOptions({"-dateformat", "dd/mm/yy"}).options.date_format, "dd/mm/yy");
  EXPECT_EQ(ParsedOptions({"-dateformat", "yyyy-mm-dd"}).options.date_format, "yyyy-mm-dd");
  const ParsedOptions run({"-dateformat", "mm/dd/yyy"});
  EXPECT_TRUE(run.parsed);
  EXPECT_EQ(run.options.date_format, "mm/dd/yyyy");
  EXPECT_EQ(run.said, "invalid mm/dd/yyy, using default format\n");
}

TEST(OutputOptions, AcceptTimeFormatsOf8And12To18CharactersWithColon) {
  for (const char* good : {"hh:mm:ss", "hh:mm:ss.xxx", "hh:mm:ss.xxxxxxxxx"}) {
    EXPECT_EQ(ParsedOptions({"-timeformat", good}).options.time_format, good);
  }
  for (const char* bad : {"hh:mm:s", "hh:mm:ss.", "hh:mm:ss.xx", "hh:mm:ss.xxxxxxxxxx", "hh.mm.ss",
                          "hh.mm.ss.xxx", ""}) {
    const ParsedOptions run({"-timeformat", bad});
    EXPECT_TRUE(run.parsed);
    EXPECT_EQ(run.options.time_format, "hh:mm:ss.xxx");
    EXPECT_EQ(run.said, std::string("invalid ") + bad + ", using default format\n");
  }
}

TEST(OutputOptions, PairAliasesWithTruePaths) {
  setenv("TARNLEX_ROOT", "/mnt/c", 1);
  const ParsedOptions run({"-alias", "DC1.evtx | %TARNLEX_ROOT%/a.evtx || dc1.EVTX | /late"});
  EXPECT_TRUE(run.parsed);
  EXPECT_EQ(run.options.alias_map, (Aliases{{"dc1.evtx", "/mnt/c/a.evtx"}}));
}

TEST(OutputOptions, CutSeparatorsAndQuotesFromAliasDirectories) {
  const ParsedOptions run({"-aliaspath", "Host1\\ | \"C:\\Logs\\\" | h2 | D:\\x | h3/ | /mnt/y/"});
  EXPECT_TRUE(run.parsed);
  EXPECT_EQ(run.options.alias_path_map,
            (Aliases{{"host1", "C:\\Logs"}, {"h2", "D:\\x"}, {"h3", "/mnt/y"}}));
}

TEST(OutputOptions, RefuseAliasesWithoutPartner) {
  const ParsedOptions files({"-alias", "a|b|c"});
  EXPECT_FALSE(files.parsed);
  EXPECT_EQ(files.said, "inbalanced alias to true pathfiles, aborting\n");
  const ParsedOptions paths({"-aliaspath", "a"});
  EXPECT_FALSE(paths.parsed);
  EXPECT_EQ(paths.said, "inbalanced alias to true paths, aborting\n");
}

TEST(OutputOptions, RefuseSqlite) {
  const ParsedOptions run({"-sqlite", "x.db"});
  EXPECT_FALSE(run.parsed);
  EXPECT_EQ(run.said, "This option is not offered in this build\n");
  EXPECT_TRUE(ParsedOptions({"-sqlite"}).parsed) << "without its value the option counts as absent";
}

TEST(OutputOptions, TakeNamesSwitchesAndSignal) {
  const ParsedOptions run({"-hostname", "LAB", "-username", "me", "-signal", "s", "-QUIET",
                           "-verbose", "-pair_datetime", "-base10", "-pipe"});
  EXPECT_EQ(run.options.hostname, "LAB");
  EXPECT_EQ(run.options.username, "me");
  EXPECT_FALSE(run.options.show_status);
  EXPECT_TRUE(run.options.pair_datetime && run.options.pipe);
  EXPECT_EQ(run.rest.size(), 1U);
}

TEST(OutOption, ExpandsVariables) {
  setenv("TARNLEX_OUT", "/case", 1);
  const ParsedOptions run({"-outfile", "%TARNLEX_OUT%/out.txt", "-outdir", "%TARNLEX_OUT%/all"});
  EXPECT_TRUE(run.options.to_file && run.options.have_out_dir);
  EXPECT_EQ(run.options.out_file, "/case/out.txt");
  EXPECT_EQ(run.options.out_dir, "/case/all");
}

TEST(OutOption, GoesIntoTheOutputDirectoryWhenRelative) {
  EXPECT_EQ(ParsedOptions({"-out", "out.csv", "-outdir", "a/b"}).options.out_file, "a/b/out.csv");
  EXPECT_EQ(ParsedOptions({"-outdir", "a", "-out", "/b/out.csv"}).options.out_file, "/b/out.csv");
}

TEST(OutputOptions, PickColumnsOfTablesAndCards) {
  using Names = std::vector<std::string>;
  EXPECT_EQ(ParsedOptions({"-columns", " A | b c|"}).options.columns, (Names{"A", "b c"}));
  for (const char* form : {"-csv", "-csvgen", "-xml", "-multiline", "-cards"}) {
    EXPECT_EQ(ParsedOptions({"-columns", "A", form}).options.columns, Names{"A"}) << form;
  }
  for (const char* form : {"-csvl2t", "-bodyfile", "-json", "-event_json", "-event_xml"}) {
    EXPECT_EQ(ParsedOptions({"-columns", "A", form}).options.columns, Names{}) << form;
  }
}

TEST(OutputOptions, SayHowWideCardsAreAndWhatIsColoured) {
  EXPECT_FALSE(ParsedOptions({}).options.card_width);
  EXPECT_EQ(ParsedOptions({"-width", "72"}).options.card_width, 72U);
  EXPECT_EQ(ParsedOptions({"-width", "0"}).options.card_width, 0U);
  EXPECT_FALSE(ParsedOptions({"-width", "7x"}).options.card_width);
  EXPECT_EQ(ParsedOptions({}).options.color, ColorUse::kAuto);
  EXPECT_EQ(ParsedOptions({"-color", "Always"}).options.color, ColorUse::kAlways);
  EXPECT_EQ(ParsedOptions({"-color", "never"}).options.color, ColorUse::kNever);
  EXPECT_EQ(ParsedOptions({"-color", "red"}).options.color, ColorUse::kAuto);
}

}  // namespace
}  // namespace tarnlex
