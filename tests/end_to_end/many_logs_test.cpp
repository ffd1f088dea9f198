// One process over as many logs as there are: what it keeps does not grow with them, but for their
// paths.
#include <gtest/gtest.h>

#include <filesystem>
#include <memory>

#include "tests/end_to_end/in_process.h"
#include "tests/end_to_end/sample_files.h"
#include "tests/support/child_run.h"

namespace tarnlex {
namespace {

namespace fs = std::filesystem;

constexpr int kFew = 200;
constexpr int kMany = 2000;
constexpr int kPerFolder = 100;

// Copies of all samples in turn, so many in each folder, and their paths.
struct ManyLogs {
  TempDirectory directory;
  std::string paths;

  ManyLogs() {
    WriteSampleFiles(directory.path + "/sample");
    std::vector<fs::path> files;
    for (const auto& entry : fs::recursive_directory_iterator(directory.path + "/sample")) {
      if (entry.is_regular_file()) files.push_back(entry.path());
    }
    for (int i = 0; i < kMany; ++i) {
      const fs::path& file = files[static_cast<std::size_t>(i) % files.size()];
      const fs::path folder = FolderOf(i / kPerFolder);
      if (i % kPerFolder == 0) fs::create_directories(folder);
      const fs::path copy = folder / (std::to_string(i) + file.filename().string());
      fs::create_hard_link(file, copy);
      paths += copy.string() + "\n";
    }
  }

  fs::path FolderOf(int number) const {
    return fs::path(directory.path) / "logs" / std::to_string(number);
  }

  // A file with the first of the paths.
  std::string List(int count) const {
    std::size_t end = 0;
    for (int i = 0; i < count; ++i) end = paths.find('\n', end) + 1;
    return directory.AddFile("list" + std::to_string(count), paths.substr(0, end));
  }

  // The first of the folders, as the option takes them.
  std::string Folders(int count) const {
    std::string folders;
    for (int i = 0; i < count / kPerFolder; ++i) folders += FolderOf(i).string() + "|";
    return folders;
  }
};

struct ManyLogsTest : testing::Test {
  inline static std::unique_ptr<ManyLogs> logs;
  static void SetUpTestSuite() { logs = std::make_unique<ManyLogs>(); }
  static void TearDownTestSuite() { logs.reset(); }

  static long PeakOf(std::vector<std::string> args, const std::string& in) {
    args.push_back("-quiet");
    const support::ChildRun run = support::RunChild(TARNLEX_PROGRAM, args, "/dev/null", in);
    EXPECT_EQ(run.exit_code, 0) << run.err;
    return run.peak_kib;
  }

  static long PeakOfFolders(std::vector<std::string> args, int count) {
    args.insert(args.end(), {"-dir", logs->Folders(count)});
    return PeakOf(std::move(args), "/dev/null");
  }

  static long PeakOfPipe(std::vector<std::string> args, int count) {
    args.push_back("-pipe");
    return PeakOf(std::move(args), logs->List(count));
  }

  // A path, with what is known of it, takes a few hundred bytes in each of some tables.
  static void ExpectNoGrowth(const std::vector<std::string>& form) {
    constexpr long kMostMore = 2 * (kMany - kFew);  // KiB
    EXPECT_LT(PeakOfFolders(form, kMany) - PeakOfFolders(form, kFew), kMostMore) << form.front();
    EXPECT_LT(PeakOfPipe(form, kMany) - PeakOfPipe(form, kFew), kMostMore) << form.front();
  }
};

TEST_F(ManyLogsTest, TakeNoMoreMemoryThanAFew) {
  ExpectNoGrowth({"-csvgen", "-outdir", logs->directory.path + "/out"});
  ExpectNoGrowth({"-event_xml", "-stats", logs->directory.path + "/stats"});
  ExpectNoGrowth({"-csvl2t", "-complete", "-diags", "/dev/null"});
}

TEST_F(ManyLogsTest, AreMirroredEachWithItsRows) {
  const Outcome run =
      RunIn(logs->directory.path, {"-dir", "logs", "-csvgen", "-quiet", "-outdir", "mirror"});
  EXPECT_EQ(run.code, 0) << run.err;
  int files = 0;
  for (const auto& entry : fs::recursive_directory_iterator(logs->directory.path + "/mirror")) {
    if (!entry.is_regular_file()) continue;
    ++files;
    const fs::path file = fs::relative(entry.path(), logs->directory.path + "/mirror");
    const std::string log = (fs::path("logs") / file.parent_path() / file.stem()).string();
    EXPECT_TRUE(ReadFile(entry.path().string()).ends_with("," + log + "\n")) << log;
  }
  EXPECT_GT(files, kMany / 2);
}

}  // namespace
}  // namespace tarnlex
