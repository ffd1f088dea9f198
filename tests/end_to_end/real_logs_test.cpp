// What must hold for any log, tried on every real one below $TARNLEX_LOGS: the forms of output
// agree with one another and with the account of the walk, and no row loses its shape.
#include "tests/end_to_end/real_logs.h"

#include <initializer_list>
#include <sstream>

#include "fuzz/strict_forms.h"
#include "tests/end_to_end/in_process.h"

namespace tarnlex {
namespace {

namespace fs = std::filesystem;

constexpr std::string_view kSeparator = "\x01";  // stands in no value of a log that was seen

using Lines = std::vector<std::string>;

Lines LinesOf(std::string_view text) {
  Lines lines;
  std::istringstream in{std::string(text)};
  for (std::string line; std::getline(in, line);) lines.push_back(line);
  return lines;
}

// Lines of a run over one log that has to succeed; -diags writes below `directory`.
Lines Rows(const TempDirectory& directory, const std::string& log,
           std::initializer_list<std::string> form) {
  std::vector<std::string> args = {"-log", log, "-quiet", "-diags", "trace"};
  args.insert(args.end(), form);
  const Outcome outcome = RunIn(directory.path, args);
  EXPECT_EQ(outcome.code, 0);
  EXPECT_EQ(outcome.err.find("prob"), std::string::npos) << outcome.err;
  EXPECT_EQ(outcome.err.find("exception"), std::string::npos) << outcome.err;
  return LinesOf(BehindRunHeader(outcome.out));
}

std::size_t FieldsOf(const std::string& line, std::string_view separator) {
  std::size_t count = 1;
  for (std::size_t at = 0; (at = line.find(separator, at)) != std::string::npos; ++count) {
    at += separator.size();
  }
  return count;
}

// Counts the rows of tables, each a header, rows and an empty line; every row has to have as many
// fields as the header above it.
std::size_t RowsOfTables(const Lines& lines, std::string_view separator) {
  std::size_t rows = 0;
  std::size_t fields = 0;
  for (const std::string& line : lines) {
    if (line.empty()) {
      fields = 0;
    } else if (fields == 0) {
      EXPECT_NE(line.find("Record#"), std::string::npos) << line;
      fields = FieldsOf(line, separator);
    } else {
      EXPECT_EQ(FieldsOf(line, separator), fields) << line;
      ++rows;
    }
  }
  return rows;
}

// Counts the lines behind a timeline's header, all with as many fields as that.
std::size_t RowsOfTimeline(const Lines& lines, std::string_view separator) {
  for (const std::string& line : lines) {
    EXPECT_EQ(FieldsOf(line, separator), FieldsOf(lines.front(), separator)) << line;
  }
  return lines.empty() ? 0 : lines.size() - 1;
}

// Rows of one table whose event has a place in time. Logs written anew by tools hold events without
// one: their record header carries no time.
std::size_t RowsWithADate(const Lines& table) {
  std::size_t count = 0;
  for (std::size_t row = 1; row < table.size(); ++row) {
    const std::size_t date = table[row].find(kSeparator, table[row].find(kSeparator) + 1) + 1;
    if (table[row].compare(date, kSeparator.size(), kSeparator) != 0) ++count;
  }
  return count;
}

// The number behind "records decoded: " in the account that stands at the trace's end.
std::size_t DecodedByAccount(const TempDirectory& directory) {
  const std::string trace = ReadFile(directory.path + "/trace");
  const std::size_t account = trace.rfind("--- account of ");
  EXPECT_NE(account, std::string::npos);
  if (account == std::string::npos) return 0;
  const std::string_view label = "records decoded: ";
  const std::size_t at = trace.find(label, account);
  EXPECT_NE(at, std::string::npos);
  return at == std::string::npos ? 0 : std::stoul(trace.substr(at + label.size()));
}

class RealLogs : public testing::TestWithParam<std::string> {};
GTEST_ALLOW_UNINSTANTIATED_PARAMETERIZED_TEST(RealLogs);

TEST_P(RealLogs, GiveTheSameRecordsInEveryForm) {
  const TempDirectory directory;
  const std::string& log = GetParam();
  const std::size_t rows = RowsOfTables(
      Rows(directory, log, {"-csv", "-csv_separator", std::string(kSeparator)}), kSeparator);
  EXPECT_GT(rows, 0U);
  EXPECT_EQ(rows, DecodedByAccount(directory));
  EXPECT_EQ(RowsOfTables(Rows(directory, log, {}), " | "), rows);
  EXPECT_EQ(RowsOfTables(Rows(directory, log, {"-csv"}), ","), rows);
  EXPECT_EQ(RowsOfTables(Rows(directory, log, {"-csvgen"}), ","), rows);
  EXPECT_EQ(RowsOfTables(Rows(directory, log, {"-no_whitespace"}), "|"), rows);
  EXPECT_EQ(RowsOfTimeline(Rows(directory, log, {"-bodyfile"}), "|"), rows);
  EXPECT_EQ(RowsOfTimeline(Rows(directory, log, {"-bodyfile", "-allparams"}), "|"), rows);
  const Lines table = Rows(directory, log, {"-csvgen", "-csv_separator", std::string(kSeparator)});
  EXPECT_EQ(RowsOfTimeline(Rows(directory, log, {"-csvl2t"}), ","), RowsWithADate(table));
}

TEST_P(RealLogs, KeepReportsWithinTheDump) {
  const TempDirectory directory;
  const std::string& log = GetParam();
  const std::size_t all = RowsOfTables(Rows(directory, log, {"-csv"}), ",");
  for (const char* report : {"-pw", "-time", "-logon", "-startstop", "-creds", "-usb"}) {
    SCOPED_TRACE(report);
    const std::size_t rows = RowsOfTables(Rows(directory, log, {report, "-csv"}), ",");
    EXPECT_LE(rows, all);
    EXPECT_EQ(RowsOfTimeline(Rows(directory, log, {report, "-bodyfile"}), "|"), rows);
  }
}

TEST_P(RealLogs, CountInTheStatisticsWhatTheyDump) {
  const TempDirectory directory;
  const std::size_t rows =
      RowsOfTables(Rows(directory, GetParam(), {"-csv", "-stats", "stats"}), ",");
  std::size_t total = 0;
  std::size_t sum = 0;
  for (const std::string& line : LinesOf(ReadFile(directory.path + "/stats"))) {
    std::istringstream cells(line);
    std::string id;
    std::size_t count = 0;
    if (!std::getline(cells >> std::ws, id, ',') || !(cells >> count)) continue;
    (id == "all" ? total : sum) += count;
    EXPECT_EQ(cells.get(), ',') << line;
  }
  EXPECT_EQ(total, rows);
  EXPECT_EQ(sum, rows);
}

// The number behind a name in a line of JSON.
std::size_t NumberOf(const std::string& line, const std::string& name) {
  const std::size_t at = line.find("\"" + name + "\":");
  EXPECT_NE(at, std::string::npos) << name << line;
  return at == std::string::npos ? 0 : std::stoul(line.substr(at + name.size() + 3));
}

TEST_P(RealLogs, AreAccountedForAsTheyAreRead) {
  const TempDirectory directory;
  for (const char* policy : {"-quiet", "-complete"}) {
    SCOPED_TRACE(policy);
    const Lines rows = Rows(directory, GetParam(), {"-csv", policy});
    EXPECT_EQ(Rows(directory, GetParam(), {"-csv", policy, "-account", "account"}), rows);
    const std::string account = ReadFile(directory.path + "/account");
    EXPECT_TRUE(IsJsonLines(account)) << account;
    const Lines lines = LinesOf(account);
    ASSERT_EQ(lines.size(), 2U);
    const std::size_t decoded = NumberOf(lines[0], "decoded");
    EXPECT_EQ(decoded, DecodedByAccount(directory));
    EXPECT_EQ(NumberOf(lines[1], "decoded"), decoded);
    const std::size_t from = NumberOf(lines[0], "from");
    const std::size_t ids = NumberOf(lines[0], "to") + 1 - from - NumberOf(lines[0], "missing");
    EXPECT_EQ(ids + NumberOf(lines[0], "repeated"), decoded);
  }
}

TEST(RealLogsGiven, AreThere) {
  if (std::getenv("TARNLEX_LOGS") == nullptr) GTEST_SKIP() << "TARNLEX_LOGS is not set";
  EXPECT_FALSE(PathsOfRealLogs().empty());
}

std::string CaseName(const testing::TestParamInfo<std::string>& each) {
  std::string name = std::to_string(each.index) + "_" + fs::path(each.param).stem().string();
  std::replace_if(
      name.begin(), name.end(), [](unsigned char c) { return !std::isalnum(c); }, '_');
  return name;
}

INSTANTIATE_TEST_SUITE_P(Every, RealLogs, testing::ValuesIn(PathsOfRealLogs()), CaseName);

}  // namespace
}  // namespace tarnlex
