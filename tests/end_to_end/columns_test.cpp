// Columns that are picked hold what the whole table holds under their names.
#include <map>
#include <sstream>

#include "logs/text.h"
#include "tests/end_to_end/in_process.h"
#include "tests/end_to_end/real_logs.h"
#include "tests/end_to_end/sample_files.h"

namespace tarnlex {
namespace {

using Cells = std::vector<std::string>;

Cells SplitAll(const std::string& line, char separator) {
  Cells cells(1);
  for (const char c : line) {
    if (c == separator) {
      cells.emplace_back();
    } else {
      cells.back() += c;
    }
  }
  return cells;
}

// The rows of a run, whose first line is the header; cells of -csvgen hold no comma.
std::vector<Cells> TableOf(const std::string& directory, const std::string& log,
                           std::vector<std::string> form) {
  form.insert(form.begin(), {"-log", log, "-csvgen", "-quiet"});
  const Outcome run = RunIn(directory, form);
  EXPECT_EQ(run.code, 0) << log;
  std::istringstream lines{std::string(BehindRunHeader(run.out))};
  std::vector<Cells> table;
  for (std::string line; std::getline(lines, line);) table.push_back(SplitAll(line, ','));
  return table;
}

// All names of a header, each once, last first and in other letters.
std::vector<std::string> Shuffled(const Cells& header) {
  std::vector<std::string> names;
  for (auto name = header.rbegin(); name != header.rend(); ++name) {
    if (name->find('|') != std::string::npos || name->empty()) continue;
    const auto same = [&](const std::string& known) { return EqualsNoCase(known, *name); };
    if (std::count_if(header.begin(), header.end(), same) == 1)
      names.push_back(ToLowerAscii(*name));
  }
  return names;
}

std::string JoinNames(const std::vector<std::string>& names) {
  std::string list;
  for (const std::string& name : names) list += list.empty() ? name : " | " + name;
  return list;
}

void ExpectPickedCells(const std::string& directory, const std::string& log,
                       const std::string& policy) {
  SCOPED_TRACE(log + " " + policy);
  const std::vector<Cells> whole = TableOf(directory, log, {policy});
  if (whole.empty()) return;
  const std::vector<std::string> names = Shuffled(whole.front());
  const std::vector<Cells> picked = TableOf(directory, log, {policy, "-columns", JoinNames(names)});
  ASSERT_EQ(picked.size(), whole.size());
  EXPECT_EQ(picked.front(), names);
  for (std::size_t column = 0; column < names.size(); ++column) {
    const auto at =
        std::find_if(whole.front().begin(), whole.front().end(),
                     [&](const std::string& name) { return EqualsNoCase(name, names[column]); });
    const auto from = static_cast<std::size_t>(at - whole.front().begin());
    for (std::size_t row = 1; row < whole.size(); ++row) {
      ASSERT_EQ(picked[row].at(column), whole[row].at(from)) << names[column] << " of row " << row;
    }
  }
}

TEST(Columns, HoldWhatTheWholeTableHolds) {
  const TempDirectory directory;
  WriteSampleFiles(directory.path);
  for (const char* log : {"plain.evtx", "Security.evtx", "System.evtx", "torn.evtx", "times.evtx",
                          "SecEvent.Evt", "app/AppEvent.Evt"}) {
    ExpectPickedCells(directory.path, log, "-verbose");  // changes nothing
    ExpectPickedCells(directory.path, log, "-complete");
  }
}

TEST(RealLogs, PickedColumnsHoldWhatTheWholeTableHolds) {
  const std::vector<std::string> logs = PathsOfRealLogs();
  if (logs.empty()) GTEST_SKIP() << "TARNLEX_LOGS is not set";
  const TempDirectory directory;
  for (const std::string& log : logs) ExpectPickedCells(directory.path, log, "-verbose");
}

TEST(Columns, LeaveStatisticsAsTheyAre) {
  const TempDirectory directory;
  WriteSampleFiles(directory.path);
  std::vector<std::string> args = {"-log",   "Security.evtx", "-csv",  "-quiet",
                                   "-stats", "whole.txt",     "-hist", "TargetUserName"};
  RunIn(directory.path, args);
  args[5] = "picked.txt";
  args.insert(args.end(), {"-columns", "EventID"});
  RunIn(directory.path, args);
  const auto counts = [&](const char* name) {
    return std::string(BehindRunHeader(ReadFile(directory.path + "/" + name)));
  };
  EXPECT_NE(counts("whole.txt").find("targetusername"), std::string::npos);
  EXPECT_EQ(counts("picked.txt"), counts("whole.txt"));
}

}  // namespace
}  // namespace tarnlex
