#include "logs/platform.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <filesystem>
#include <string>
#include <vector>

#include "tests/app/temp_directory.h"

namespace tarnlex {
namespace {

std::string ReadAt(const InputFile& file, std::uint64_t offset, std::size_t size) {
  std::vector<std::uint8_t> bytes(size);
  const std::size_t got = file.read(offset, bytes);
  return {bytes.begin(), bytes.begin() + static_cast<std::ptrdiff_t>(got)};
}

TEST(OpenInput, ReadsAtAnyOffset) {
  const TempDirectory directory;
  const auto file = OpenInput(directory.AddFile("a", "0123456789"));
  ASSERT_TRUE(file);
  EXPECT_EQ(file->size, 10U);
  EXPECT_EQ(ReadAt(*file, 3, 4), "3456");
  EXPECT_EQ(ReadAt(*file, 8, 4), "89");
  EXPECT_EQ(ReadAt(*file, 10, 4), "");
  EXPECT_EQ(ReadAt(*file, ~std::uint64_t{0}, 4), "");
}

TEST(OpenInput, RefusesWhatIsNoPlainFile) {
  const TempDirectory directory;
  const std::string plain = directory.AddFile("a", "x");
  const std::string pipe = directory.path + "/pipe";
  ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
  EXPECT_FALSE(OpenInput(""));
  EXPECT_FALSE(OpenInput(directory.path));
  EXPECT_FALSE(OpenInput(directory.path + "/none"));
  EXPECT_FALSE(OpenInput(pipe)) << "must not wait for a writer either";
  EXPECT_FALSE(OpenInput(plain + std::string("\0z", 2)));
}

TEST(OpenOutput, TruncatesOrAppends) {
  const TempDirectory directory;
  const std::string path = directory.AddFile("out", "old content");
  {
    const auto write = OpenOutput(path);
    ASSERT_TRUE(write);
    EXPECT_TRUE((*write)("a\n"));
    EXPECT_TRUE((*write)("b"));
  }
  EXPECT_EQ(ReadFile(path), "a\nb");
  (*OpenOutput(path, true))("c");
  EXPECT_EQ(ReadFile(path), "a\nbc");
  EXPECT_FALSE(OpenOutput(directory.path));
  EXPECT_FALSE(OpenOutput(""));
  EXPECT_FALSE(OpenOutput(directory.path + "/none/out"));
}

TEST(FileExists, KnowsFilesAndDirectories) {
  const TempDirectory directory;
  EXPECT_TRUE(FileExists(directory.path));
  EXPECT_TRUE(FileExists(directory.AddFile("a", "")));
  EXPECT_FALSE(FileExists(directory.path + "/b"));
  EXPECT_FALSE(FileExists(""));
}

TEST(IsPlainFile, KnowsLinksAndDirectories) {
  const TempDirectory directory;
  const std::string file = directory.AddFile("a", "x");
  std::filesystem::create_symlink(file, directory.path + "/link");
  EXPECT_TRUE(IsPlainFile(file));
  EXPECT_FALSE(IsPlainFile(directory.path + "/link"));
  EXPECT_FALSE(IsPlainFile(directory.path));
  EXPECT_FALSE(IsPlainFile(directory.path + "/none"));
  EXPECT_FALSE(IsPlainFile(""));
  EXPECT_FALSE(IsPlainFile(file + std::string("\0z", 2)));
}

TEST(RemoveFile, SaysWhetherItIsGone) {
  const TempDirectory directory;
  const std::string file = directory.AddFile("a", "x");
  EXPECT_FALSE(RemoveFile(file + std::string("\0z", 2)));
  EXPECT_TRUE(RemoveFile(file));
  EXPECT_FALSE(FileExists(file));
  EXPECT_FALSE(RemoveFile(directory.path));
  EXPECT_FALSE(RemoveFile(""));
}

TEST(MakeDirectory, CreatesParentsAndAcceptsWhatIsThere) {
  const TempDirectory directory;
  EXPECT_TRUE(MakeDirectory(directory.path + "/a/b/c"));
  EXPECT_TRUE(MakeDirectory(directory.path + "/a/b/c"));
  EXPECT_TRUE(MakeDirectory(directory.path + "/d/e/"));
  const std::string file = directory.AddFile("f", "");
  EXPECT_FALSE(MakeDirectory(file));
  EXPECT_FALSE(MakeDirectory(file + "/below"));
  EXPECT_FALSE(MakeDirectory(""));
}

TEST(ListFiles, TakesPlainFilesOfTheExtensionInOrder) {
  const TempDirectory directory;
  for (const char* name : {"b.evtx", "A.EVTX", "c.evt", "evtx", "d.evtx.bak", "sub/e.evtx"}) {
    directory.AddFile(name, "");
  }
  EXPECT_TRUE(MakeDirectory(directory.path + "/dir.evtx"));
  EXPECT_EQ(ListFiles(directory.path, ".evtx"), (std::vector<std::string>{"A.EVTX", "b.evtx"}));
  EXPECT_TRUE(ListFiles(directory.path + "/none", ".evtx").empty());
}

TEST(ListFolder, SaysWhatStandsThereWithoutFollowingLinks) {
  const TempDirectory directory;
  directory.AddFile("b", "");
  directory.AddFile("a/below", "");
  std::filesystem::create_symlink("b", directory.path + "/link");
  std::filesystem::create_symlink("nowhere", directory.path + "/lost");
  ASSERT_EQ(mkfifo((directory.path + "/pipe").c_str(), 0600), 0);
  std::vector<FolderEntry> entries;
  ASSERT_TRUE(ListFolder(directory.path, entries));
  std::string text;
  for (const FolderEntry& entry : entries) {
    text += entry.name + " " + std::to_string(static_cast<int>(entry.kind)) + "\n";
  }
  EXPECT_EQ(text, "a 1\nb 0\nlink 2\nlost 2\npipe 3\n");
  EXPECT_FALSE(ListFolder(directory.path + "/b", entries));
  EXPECT_TRUE(entries.empty());
  EXPECT_FALSE(ListFolder(directory.path + "/none", entries));
  EXPECT_FALSE(ListFolder("", entries));
}

TEST(FindPathNoCase, SpellsThePathAsTheVolumeDoes) {
  const TempDirectory directory;
  const std::string file = directory.AddFile("WINDOWS/system32/Config/SysEvent.Evt", "");
  EXPECT_EQ(FindPathNoCase(directory.path + "/Windows/System32/config/SYSEVENT.EVT"), file);
  EXPECT_EQ(FindPathNoCase(file), file);
  EXPECT_FALSE(FindPathNoCase(directory.path + "/Windows/System33"));
  EXPECT_FALSE(FindPathNoCase(""));
}

// A volume written by other systems can hold both spellings, one of them without the logs.
TEST(FindPathNoCase, GoesOnToTheNextSpelling) {
  const TempDirectory directory;
  directory.AddFile("Windows/readme", "");
  const std::string file = directory.AddFile("windows/System32/a", "");
  EXPECT_EQ(FindPathNoCase(directory.path + "/Windows/system32/A"), file);
}

TEST(Host, IsDescribedByUname) {
  const MachineInfo machine = DescribeMachine("tarnlex");
  EXPECT_TRUE(machine.valid);
  EXPECT_FALSE(machine.os_family.empty());
  EXPECT_FALSE(machine.os_release.empty());
  EXPECT_FALSE(machine.os_version.empty());
  EXPECT_EQ(machine.is_64bit, sizeof(void*) == 8);
  EXPECT_EQ(machine.host_label, HostName());
}

TEST(Host, IsAdminAsEffectiveUserZeroAndNeverVista) {
  EXPECT_EQ(IsAdmin(), geteuid() == 0);
  EXPECT_FALSE(IsVistaOrLater());
  EXPECT_FALSE(OnWindows());
  EXPECT_FALSE(DisableFsRedirection());
  EXPECT_FALSE(WindowsDirectory());
}

TEST(Environment, TellsUnsetFromEmpty) {
  setenv("TARNLEX_TEST", "", 1);
  EXPECT_EQ(Environment("TARNLEX_TEST"), "");
  unsetenv("TARNLEX_TEST");
  EXPECT_FALSE(Environment("TARNLEX_TEST"));
}

TEST(InputText, StaysAsItIs) {
  EXPECT_EQ(InputText("Журнал.evtx"), "Журнал.evtx");
  EXPECT_EQ(InputText("\x84\xA5.evtx"), "\x84\xA5.evtx");
}

TEST(CurrentFiletime, AgreesWithTheUnixClock) {
  const std::uint64_t before = static_cast<std::uint64_t>(time(nullptr));
  const std::uint64_t now = CurrentFiletime() / 10'000'000 - 11'644'473'600;
  EXPECT_GE(now + 1, before);
  EXPECT_LE(now, before + 5);
}

}  // namespace
}  // namespace tarnlex
