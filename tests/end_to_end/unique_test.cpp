// With -unique a run gives each event once, whatever holds it.
#include <algorithm>
#include <map>
#include <sstream>

#include "logs/text.h"
#include "tests/end_to_end/in_process.h"
#include "tests/end_to_end/real_logs.h"
#include "tests/end_to_end/sample_files.h"

namespace tarnlex {
namespace {

std::vector<std::string> LinesOf(const std::string& text) {
  std::vector<std::string> lines;
  std::istringstream stream(text);
  for (std::string line; std::getline(stream, line);) lines.push_back(line);
  return lines;
}

std::string Listed(const std::vector<std::string>& paths) {
  std::string list;
  for (const std::string& path : paths) list += (list.empty() ? "" : " | ") + path;
  return list;
}

// Lines of JSON, those of each log by themselves.
std::vector<std::string> Events(const std::string& directory, const std::vector<std::string>& logs,
                                std::vector<std::string> more) {
  more.insert(more.end(), {"-log", Listed(logs), "-json", "-quiet"});
  return LinesOf(RunIn(directory, more).out);
}

std::string LogOf(const std::string& line) {
  constexpr std::string_view kFront = "{\"Log\":\"";
  EXPECT_TRUE(line.starts_with(kFront));
  return line.substr(kFront.size(), line.find('"', kFront.size()) - kFront.size());
}

TEST(Unique, GivesNothingOfACopy) {
  const TempDirectory directory;
  WriteSampleFiles(directory.path);
  const std::vector<std::string> logs = {
      "Security.evtx",  "System.evtx",  "plain.evtx",          "times.evtx", "torn.evtx",
      "forgotten.evtx", "SysEvent.Evt", "saved/exported.evtx", "times.evt",  "ring/SysEvent.Evt"};
  for (const std::string& log : logs) {
    std::filesystem::copy_file(directory.path + "/" + log, directory.path + "/zz");
    for (const char* option : {"-complete", "-recover"}) {
      const auto once = Events(directory.path, {log}, {option});
      EXPECT_GT(once.size(), 0U);
      EXPECT_EQ(Events(directory.path, {log}, {option, "-unique"}), once) << log;
      EXPECT_EQ(Events(directory.path, {log, "zz"}, {option}).size(), 2 * once.size());
      EXPECT_EQ(Events(directory.path, {log, "zz"}, {option, "-unique"}), once) << log;
    }
    std::filesystem::remove(directory.path + "/zz");
  }
}

// Each log by itself gives what it gives; two of each give what one does. Nothing is lost.
TEST(Unique, GivesNothingOfCopiesOfRealLogs) {
  const std::vector<std::string> logs = PathsOfRealLogs();
  if (logs.empty()) GTEST_SKIP() << "TARNLEX_LOGS is not set";
  const TempDirectory directory;
  for (const std::string& log : logs) {
    std::filesystem::copy_file(log, directory.path + "/zz");
    for (const char* form : {"-json", "-csvgen"}) {
      const auto run = [&](const std::string& paths, const char* option) {
        const Outcome outcome =
            RunIn(directory.path, {"-log", paths, form, "-recover", option, "-quiet"});
        return form == std::string_view("-json") ? outcome.out
                                                 : std::string(BehindRunHeader(outcome.out));
      };
      EXPECT_EQ(run(log + " | zz", "-unique"), run(log, "-verbose")) << log << form;
    }
    std::filesystem::remove(directory.path + "/zz");
  }
}

// All real logs in one run: every event of a log is given, if not from it then from one before.
TEST(Unique, LosesNoEventOfRealLogs) {
  const std::vector<std::string> logs = PathsOfRealLogs();
  if (logs.empty()) GTEST_SKIP() << "TARNLEX_LOGS is not set";
  const TempDirectory directory;
  const auto text_of = [](const std::string& line) {  // without what says where it stands
    const std::size_t begin = line.find("\",") + 2;
    return line.substr(begin, line.rfind(",\"Offset\":") - begin);
  };
  std::map<std::string, int> all;
  std::map<std::string, int> unique;
  for (const auto& line : Events(directory.path, logs, {"-complete"})) ++all[text_of(line)];
  for (const auto& line : Events(directory.path, logs, {"-unique"})) ++unique[text_of(line)];
  EXPECT_EQ(all.size(), unique.size());
  for (const auto& [text, count] : all) EXPECT_TRUE(unique.contains(text)) << text;
}

TEST(Unique, PrefersWhatALogHasToWhatIsRecovered) {
  const TempDirectory directory;
  WriteSampleFiles(directory.path);
  const std::vector<std::string> logs = {"copies/now.evtx", "copies/shadow1.evtx",
                                         "copies/shadow2.evtx"};
  const auto lines = Events(directory.path, logs, {"-recover", "-unique"});
  std::map<std::string, int> of_log;
  for (const std::string& line : lines) ++of_log[LogOf(line)];
  EXPECT_EQ(of_log,
            (std::map<std::string, int>{{"copies/now.evtx", 2}, {"copies/shadow1.evtx", 3}}));
}

TEST(Unique, KnowsTheLogsBeforeThatWerePipedIn) {
  const TempDirectory directory;
  WriteSampleFiles(directory.path);
  const Outcome run =
      RunIn(directory.path,
            {"-pipe", "-unique", "-complete", "-logon", "-string", "user", "-json", "-quiet"},
            "copies/shadow2.evtx\ncopies/shadow1.evtx\ncopies/now.evtx\n");
  const auto lines = LinesOf(run.out);
  ASSERT_EQ(lines.size(), 3U) << run.out << run.err;
  for (const std::string& line : lines) EXPECT_EQ(LogOf(line), "copies/shadow2.evtx");
}

}  // namespace
}  // namespace tarnlex
