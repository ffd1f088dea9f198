// What only Windows has: its file names, its directories, its rights, its console.
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <string>

#include "tests/windows/both_programs.h"

namespace tarnlex::windows {
namespace {

namespace fs = std::filesystem;

constexpr const char* kNeedAdmin =
    "Not running w/ admin privileges... pls restart with admin privs\r\n";

// The records alone: everything behind the run header.
std::string Records(const std::string& text) {
  const std::size_t cmdline = text.find("\"cmdline: ");
  return cmdline == std::string::npos ? text : text.substr(text.find('\n', cmdline) + 1);
}

// A run whose records show paths: the same but for the directory that the logs lie in.
void ExpectRecordsOf(const Outcome& windows, const std::string& directory, const Outcome& here,
                     const std::string& own_directory) {
  const std::string records = ReplaceAll(Records(here.out), own_directory, directory);
  EXPECT_NE(records.find(directory), std::string::npos) << "there should be records to compare";
  ExpectSame("records", Records(windows.out), WithWindowsLines(records));
}

void CopyLog(const std::string& name, const std::string& to) {
  fs::create_directories(fs::path(to).parent_path());
  fs::copy_file(WorkDirectory() + "/logs/" + name, to, fs::copy_options::overwrite_existing);
}

// What a system of today and one of the year 2001 have in their log directories.
void FillEvtxDirectory(const std::string& directory) {
  CopyLog("Security.evtx", directory + "/Security.evtx");
  CopyLog("System.evtx", directory + "/System.evtx");
  CopyLog("System.evtx", directory + "/Тест%4Operational.EVTX");
  CopyLog("System.evtx", directory + "/below/not.evtx");
  CopyLog("no_log.txt", directory + "/readme.txt");
}

void FillEvtDirectory(const std::string& directory) {
  CopyLog("SecEvent.Evt", directory + "/SecEvent.Evt");
  CopyLog("SysEvent.Evt", directory + "/SysEvent.Evt");
  CopyLog("no_log.txt", directory + "/SECURITY.LOG");
}

void LinkDrive(const std::string& letter, const std::string& directory) {
  const fs::path drive = fs::path(DriveC()).parent_path() / "dosdevices" / (letter + ":");
  fs::remove(drive);
  fs::create_directories(directory);
  fs::create_directory_symlink(directory, drive);
}

const Args kPlainRows = {"-csvgen", "-no_whitespace", "-quiet"};

Args With(Args args, const Args& more = kPlainRows) {
  args.insert(args.end(), more.begin(), more.end());
  return args;
}

TEST(WindowsProgram, SaysWhatItIs) {
  const Outcome told = RunInWine(WindowsProbe(), {"resources", WindowsPath(WindowsProgram())});
  EXPECT_EQ(told.code, 0) << told.err;
  for (const char* text :
       {"ProductName=tarnlex", "ProductVersion=0.33", "OriginalFilename=tarnlex.exe", "fixed=0.33",
        "level=\"asInvoker\"", ">true</longPathAware>", ">UTF-8</activeCodePage>"}) {
    EXPECT_NE(told.out.find(text), std::string::npos) << text << " in\n" << told.out;
  }
}

TEST(WindowsProgram, DescribesItsSystem) {
  const Outcome run = RunOnWindows({"-pipe", "-quiet"});
  EXPECT_EQ(run.code, 0);
  EXPECT_NE(run.out.find("; MachineInfo: Windows;"), std::string::npos) << run.out;
  EXPECT_NE(run.out.find(".workstation"), std::string::npos) << run.out;
  EXPECT_NE(run.out.find(";64\r\n"), std::string::npos) << run.out;
  EXPECT_NE(run.out.find("\"cmdline: <filelist> ... | Z:\\"), std::string::npos) << run.out;
}

TEST(WindowsPaths, MayHoldAnyCharacter) {
  CopyLog("System.evtx", WorkDirectory() + "/Дело №7/📁 улики/System.evtx");
  const Outcome here = RunHere(With({"-log", "Дело №7/📁 улики/System.evtx"}));
  ExpectRecordsOf(RunOnWindows(With({"-log", "Дело №7\\📁 улики\\System.evtx"})),
                  "Дело №7\\📁 улики\\", here, "Дело №7/📁 улики/");
}

TEST(WindowsPaths, MayBeLong) {
  std::string folder = "длинный";
  while (folder.size() < 800) folder += "/каталог с очень длинным именем 📁";
  CopyLog("System.evtx", WorkDirectory() + "/" + folder + "/System.evtx");
  WriteAll(WorkDirectory() + "/" + folder + "/c.txt", "!cmd, -enum_evtxlog, -id, 7000, -all_data");
  const Outcome here = CompareRuns(With({"-log", folder + "/System.evtx"}));
  EXPECT_GT(Records(here.out).size(), 3000U);
  const Outcome piped = CompareRuns(With({"-pipe"}), folder + "/System.evtx\r\n");
  EXPECT_EQ(Records(piped.out), Records(here.out));
  const std::string made = "made/" + folder;
  EXPECT_EQ(CompareRuns(With({"-log", "logs/System.evtx", "-outdir", made + "/out", "-stats",
                              made + "/s.txt", "-cmdfile", folder + "/c.txt"}))
                .code,
            0);
  EXPECT_TRUE(fs::exists(WorkDirectory() + "/made_on_windows/" + folder + "/s.txt"));
  const std::string whole = WindowsPath(WorkDirectory()) + "\\";
  const std::string wide = ReplaceAll(folder, "/", "\\");
  ExpectRecordsOf(RunOnWindows(With({"-log", whole + wide + "\\System.evtx"})), whole + wide + "\\",
                  here, folder + "/");
}

TEST(WindowsPaths, AreExpandedFromTheEnvironment) {
  CopyLog("System.evtx", DriveC() + "/System.evtx");
  const Outcome windows = RunOnWindows(With({"-log", "%SystemDrive%\\System.evtx"}));
  ExpectRecordsOf(windows, "C:\\", RunHere(With({"-log", "logs/System.evtx"})), "logs/");
}

TEST(HeldLog, IsReadAllTheSame) {
  const Args read = With({WindowsProgram(), "-log", "logs/System.evtx"});
  const Outcome windows = RunInWine(WindowsProbe(), With({"hold", "logs/System.evtx"}, read));
  EXPECT_EQ(windows.code, 0) << windows.err;
  ExpectRecordsOf(windows, "logs/", RunHere(With({"-log", "logs/System.evtx"})), "logs/");
}

TEST(LiveSystem, IsReadFromTheWindowsDirectory) {
  const std::string own = DriveC() + "/windows/system32/winevt/Logs/";
  fs::remove_all(DriveC() + "/windows/system32/config");  // of the next test, were it run before
  FillEvtxDirectory(own);
  const std::string place = "C:\\windows\\system32\\winevt\\logs\\";
  const Outcome here = RunHere(With({"-partition", DriveC()}));
  ExpectRecordsOf(RunOnWindows(With({"-livesys"})), place, here, own);
  EXPECT_NE(here.out.find("Тест%4Operational.EVTX"), std::string::npos);
  EXPECT_EQ(here.out.find("not.evtx"), std::string::npos);
  const Outcome startstop = RunHere(With({"-partition", DriveC(), "-startstop"}));
  ExpectRecordsOf(RunOnWindows(With({"-livesys", "-startstop"})), place, startstop, own);
}

// Wine gives a program of this name the older version.
TEST(LiveSystem, OfWindowsXpIsReadFromItsConfigDirectory) {
  const std::string own = DriveC() + "/windows/system32/config/";
  FillEvtDirectory(own);
  const std::string program = DriveC() + "/tarnlex_xp.exe";
  fs::copy_file(WindowsProgram(), program, fs::copy_options::overwrite_existing);
  const Outcome set = RunInWine("reg", {"add", "HKCU\\Software\\Wine\\AppDefaults\\tarnlex_xp.exe",
                                        "/v", "Version", "/d", "winxp64", "/f"});
  ASSERT_EQ(set.code, 0) << set.out << set.err;
  const Outcome windows = RunInWine(program, With({"-livesys"}));
  EXPECT_NE(windows.out.find("MachineInfo: Windows;5.2."), std::string::npos) << windows.out;
  const Outcome here = RunHere(With({"-log", own + "SecEvent.Evt|" + own + "SysEvent.Evt"}));
  ExpectRecordsOf(windows, "C:\\windows\\system32\\config\\", here, own);
  EXPECT_NE(RunInWine(program, {"-vss", "1"})
                .err.find("-vss option only applies to Vista, Win7, Win8 and beyond\r\n"),
            std::string::npos);
}

TEST(Partition, IsReadByItsDriveLetter) {
  const std::string volume = WorkDirectory() + "/том 1";
  const std::string own = volume + "/Windows/System32/winevt/Logs/";
  FillEvtxDirectory(own);
  LinkDrive("q", volume);
  const Outcome here = RunHere(With({"-partition", volume}));
  const std::string place = "q:\\Windows\\System32\\winevt\\logs\\";
  ExpectRecordsOf(RunOnWindows(With({"-partition", "Q"})), place, here, own);
  ExpectRecordsOf(RunOnWindows(With({"-partition", "q:\\"})), place, here, own);
}

TEST(Partition, OfWindowsXpIsReadFromItsConfigDirectory) {
  const std::string volume = WorkDirectory() + "/xp";
  const std::string own = volume + "/WINDOWS/system32/config/";
  FillEvtDirectory(own);
  LinkDrive("r", volume);
  const Outcome here = RunHere(With({"-partition", volume}));
  ExpectRecordsOf(RunOnWindows(With({"-partition", "r"})), "r:\\Windows\\System32\\Config\\", here,
                  own);
}

TEST(Partition, WithoutLogsIsNamed) {
  LinkDrive("s", WorkDirectory() + "/empty");
  for (const char* letter : {"s", "t", ""}) {
    const Outcome run = RunOnWindows({"-partition", letter});
    EXPECT_EQ(run.code, 255) << letter;
    EXPECT_EQ(run.err, "No eventlogs found in system directory\r\n") << letter;
  }
}

TEST(ShadowCopy, ThatIsNotThereIsNamed) {
  const Outcome run = RunOnWindows({"-vss", "1"});
  EXPECT_EQ(run.code, 255);
  EXPECT_EQ(run.err, "probs getting information about eventlogs, aborting\r\n");
  const std::string log = "\\\\?\\GLOBALROOT\\Device\\HarddiskVolumeShadowCopy1\\Windows\\x.evtx";
  EXPECT_EQ(RunOnWindows({"-log", "%vss%1\\Windows\\x.evtx"}).err,
            "prob opening log " + log + ", skipping\r\n\r\nnot opened: 1 log (" + log +
                "); -account FILE names them\r\n");
}

TEST(LimitedRights, AreSaidAndKeepTheSystemOut) {
  FillEvtxDirectory(WorkDirectory() + "/volume/Windows/System32/winevt/Logs");
  LinkDrive("u", WorkDirectory() + "/volume");
  const std::string warning = "... running w/o admin privileges ...\r\n";
  const auto said = [](const Args& args) {
    return RunInWine(WindowsProbe(), With({"limited", WindowsProgram()}, args)).err;
  };
  EXPECT_EQ(said({"-livesys"}), warning + kNeedAdmin);
  EXPECT_EQ(said({"-partition", "C"}), warning + kNeedAdmin);
  EXPECT_EQ(said({"-partition", "u", "-out", "from_u.txt", "-quiet"}), warning + "\r\n");
  EXPECT_GT(ReadAll(WorkDirectory() + "/from_u.txt").size(), 3000U);
  EXPECT_EQ(said({"-vss", "1"}),
            warning +
                "This option requires admin privileges...\r\nneed to restart cmd prompt "
                "using \"Run As Administrator\" option...\r\n");
}

TEST(StandardOutput, ThatNobodyReadsKeepsNoFileFromBeingWhole) {
  const Args read = With({WindowsProgram(), "-log", "logs/System.evtx"});
  WorkDirectory();
  const std::string expected = Records(RunHere(With({"-log", "logs/System.evtx"})).out);
  EXPECT_GT(expected.size(), 2000U);
  for (const std::string how : {"unread", "mute"}) {
    SCOPED_TRACE(how);
    const std::string file = how + ".csv";
    const Outcome whole = RunInWine(WindowsProbe(), With({how}, With(read, {"-out", file})));
    EXPECT_EQ(whole.code, 0);
    EXPECT_EQ(whole.err.find("prob"), std::string::npos) << whole.err;
    ExpectSame("records", ReadAll(WorkDirectory() + "/" + file),
               WithWindowsLines(expected.substr(1)));
    const Outcome lost = RunInWine(WindowsProbe(), With({how}, read));
    EXPECT_EQ(lost.code, 255);
    EXPECT_NE(lost.err.find("prob writing output, aborting\r\n"), std::string::npos) << lost.err;
  }
}

TEST(OldAnswers, GoWithTheRecordsOfTheirLog) {
  const std::string place = WorkDirectory() + "/answers/";
  fs::create_directories(place + "chunk.bin.txt");
  WriteAll(place + "System.evtx.txt", "old");
  WriteAll(place + "SysEvent.Evt.txt", "old");
  CopyLog("Security.evtx", place + "Security.evtx.txt");
  const std::string logs = "logs/System.evtx|logs/SysEvent.Evt|logs/Security.evtx|logs/chunk.bin";
  const Outcome run = RunOnWindows({"-log", logs, "-eventid", "99999", "-outdir", "answers",
                                    "-stats", "answers/SysEvent.Evt.txt"});
  EXPECT_EQ(run.code, 0) << run.err;
  EXPECT_FALSE(fs::exists(place + "System.evtx.txt"));
  EXPECT_GT(ReadAll(place + "SysEvent.Evt.txt").size(), 100U);
  EXPECT_EQ(ReadAll(place + "Security.evtx.txt"), ReadAll(WorkDirectory() + "/logs/Security.evtx"));
  EXPECT_TRUE(fs::is_directory(place + "chunk.bin.txt"));
}

// A file that somebody else has open is not removed.
TEST(OldAnswers, ThatCannotBeRemovedAreNamed) {
  fs::create_directories(WorkDirectory() + "/answers");
  WriteAll(WorkDirectory() + "/answers/SecEvent.Evt.txt", "old");
  const Outcome run =
      RunInWine(WindowsProbe(), {"hold", "answers/SecEvent.Evt.txt", WindowsProgram(), "-log",
                                 "logs/SecEvent.Evt", "-eventid", "99999", "-outdir", "answers"});
  EXPECT_EQ(run.code, 255);
  EXPECT_NE(run.err.find("prob removing file answers\\SecEvent.Evt.txt of an earlier run\r\n"),
            std::string::npos)
      << run.err;
}

TEST(Console, ShowsTextAsItIs) {
  const Outcome run = RunOnTerminal(
      WindowsProbe(), {"console", "shown.txt", WindowsProgram(), "-log",
                       "logs/System.evtx|нет 🗂.evtx", "-string", "Журнал", "-quiet"});
  EXPECT_EQ(run.code, 0) << run.out;
  const std::string shown = ReadAll(WorkDirectory() + "/shown.txt");
  for (const char* text : {"prob opening log нет 🗂.evtx, skipping\n", "tarnlex ver: 0.33\n",
                           "| Тест 🧪 ", "Журнал 🗂 événement"}) {
    EXPECT_NE(shown.find(text), std::string::npos) << text << " in\n" << shown << run.out;
  }
}

TEST(PipedList, MayBeInTheCodePageOfTheConsole) {
  CopyLog("System.evtx", WorkDirectory() + "/logs/Дело System.evtx");
  // "Дело" as code page 866 has it.
  WriteAll(WorkDirectory() + "/list.txt", "logs/\x84\xA5\xAB\xAE System.evtx\r\n");
  const Outcome run =
      RunOnTerminal(WindowsProbe(), {"codepage", "866", "list.txt", WindowsProgram(), "-pipe",
                                     "-csvgen", "-no_whitespace", "-out", "from_866.txt"});
  EXPECT_EQ(run.code, 0) << run.out;
  const Outcome here = RunHere(
      {"-log", "logs/Дело System.evtx", "-csvgen", "-no_whitespace", "-out", "from_utf8.txt"});
  ASSERT_EQ(here.code, 0);
  const std::string records = ReadAll(WorkDirectory() + "/from_utf8.txt");
  EXPECT_NE(records.find("Дело System.evtx"), std::string::npos);
  ExpectSame("records", ReadAll(WorkDirectory() + "/from_866.txt"), WithWindowsLines(records));
}

}  // namespace
}  // namespace tarnlex::windows
