#include "app/prepare_run.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <vector>

#include "tests/app/prepared_run.h"
#include "tests/app/temp_directory.h"

namespace tarnlex {
namespace {

using Texts = std::vector<std::string>;

bool Exists(const std::string& path) { return std::filesystem::exists(path); }

TEST(DiagsOption, WritesTheCommandLineIntoItsFile) {
  const TempDirectory directory;
  const std::string file = directory.path + "/diags.txt";
  const PreparedRun run({"-diags", file, "-pipe"});
  EXPECT_TRUE(run.prepared && run.run.diags);
  EXPECT_EQ(ReadFile(file), "->\"/bin/tarnlex.exe\" \"-diags\" \"" + file + "\" \"-pipe\"\n");
}

TEST(DiagsOption, NamesAFileThatCannotBeOpenedAndGoesOn) {
  const TempDirectory directory;
  const PreparedRun run({"-diags", directory.path, "-pipe", "-dateformat", "x"});
  EXPECT_TRUE(run.prepared);
  EXPECT_FALSE(run.run.diags);
  EXPECT_EQ(run.said, "prob opening file " + directory.path +
                          " for diagnostics, skipping\ninvalid x, using default format\n");
}

TEST(OutOption, TruncatesItsFileAtOnce) {
  const TempDirectory directory;
  const std::string file = directory.AddFile("out.txt", "old");
  EXPECT_TRUE(PreparedRun({"-outfile", file, "-pipe"}).prepared);
  EXPECT_EQ(ReadFile(file), "");
}

TEST(OutOption, NamesAFileThatCannotBeOpened) {
  const PreparedRun run({"-out", "/none/such/out.txt", "-pipe", "-dateformat", "x"});
  EXPECT_FALSE(run.prepared);
  EXPECT_EQ(run.said, "prob opening file /none/such/out.txt for output, aborting\n");
}

TEST(OutDirOption, CreatesTheDirectoryForTheFileInIt) {
  const TempDirectory directory;
  const std::string below = directory.path + "/a/b";
  EXPECT_TRUE(PreparedRun({"-out", "out.csv", "-outdir", below, "-pipe"}).prepared);
  EXPECT_TRUE(Exists(below + "/out.csv"));
  EXPECT_TRUE(PreparedRun({"-outdir", below + "/c", "-pipe"}).prepared);
  EXPECT_TRUE(std::filesystem::is_directory(below + "/c"));
}

TEST(OutDirOption, NamesADirectoryThatCannotBeCreated) {
  const TempDirectory directory;
  const std::string file = directory.AddFile("file", "");
  const PreparedRun refused({"-outdir", file, "-pipe"});
  EXPECT_FALSE(refused.prepared);
  EXPECT_EQ(refused.said, "prob opening file " + file + " for output, aborting\n");
}

// A command line that is bad in one place, wherever in it that is.
struct BadLineTest : testing::TestWithParam<Texts> {};

TEST_P(BadLineTest, CreatesAndEmptiesNothing) {
  const TempDirectory directory;
  const std::string out = directory.AddFile("out.txt", "kept");
  const std::string diags = directory.AddFile("diags.txt", "kept too");
  const std::string stats = directory.AddFile("stats.txt", "and this");
  const std::string below = directory.path + "/new";
  Texts args = {"-diags", diags, "-out", out, "-outdir", below, "-stats", stats};
  args.insert(args.end(), GetParam().begin(), GetParam().end());
  const PreparedRun run(args);
  EXPECT_FALSE(run.prepared);
  EXPECT_NE(run.said, "");
  EXPECT_EQ(ReadFile(out), "kept");
  EXPECT_EQ(ReadFile(diags), "kept too");
  EXPECT_EQ(ReadFile(stats), "and this");
  EXPECT_FALSE(Exists(below));
}

INSTANTIATE_TEST_SUITE_P(BadLines, BadLineTest,
                         testing::Values(Texts{}, Texts{"-alias", "a", "-pipe"},
                                         Texts{"-aliaspath", "a", "-pipe"},
                                         Texts{"-sqlite", "x", "-pipe"}, Texts{"-livesys", "-pipe"},
                                         Texts{"-vss", "1", "-log", "a.evtx"},
                                         Texts{"-partition", "d"}, Texts{"-log", "|"}));

}  // namespace
}  // namespace tarnlex
