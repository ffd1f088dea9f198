// What the reports of the library find in real logs is what another reader of these logs finds
// there: scripts/count_library_events.py has written it down.
#include <cctype>
#include <cstdlib>
#include <map>
#include <set>
#include <sstream>
#include <utility>

#include "reports/report_library.h"
#include "tests/end_to_end/in_process.h"

namespace tarnlex {
namespace {

constexpr char kSeparator = '\x01';

using Cells = std::map<std::string, std::string>;

// What a line of a report takes from a log: how many, and the first of them.
struct Found {
  std::size_t count = 0;
  std::string record;
  Cells cells;
};
using FoundByLine = std::map<std::pair<std::string, std::string>, Found>;     // by event and name
using Expected = std::map<std::pair<std::string, std::string>, FoundByLine>;  // by log and report

std::vector<std::string> Split(const std::string& line, char separator) {
  std::vector<std::string> pieces;
  std::istringstream in(line);
  for (std::string piece; std::getline(in, piece, separator);) pieces.push_back(piece);
  if (line.ends_with(separator)) pieces.emplace_back();
  return pieces;
}

Expected ReadTable() {
  Expected table;
  std::istringstream in(ReadFile(TARNLEX_LIBRARY_TABLE));
  for (std::string line; std::getline(in, line);) {
    const std::vector<std::string> pieces = Split(line, '\t');
    Found found{std::stoul(pieces.at(4)), pieces.at(5), {}};
    for (std::size_t i = 6; i < pieces.size(); ++i) {
      const std::size_t equals = pieces[i].find('=');
      found.cells.emplace(pieces[i].substr(0, equals), pieces[i].substr(equals + 1));
    }
    table[{pieces.at(0), pieces.at(1)}][{pieces.at(2), pieces.at(3)}] = found;
  }
  return table;
}

// Rows of tables, each a header, rows and an empty line.
std::vector<Cells> RowsOf(std::string_view tables) {
  std::vector<Cells> rows;
  std::vector<std::string> header;
  std::istringstream in{std::string(tables)};
  for (std::string line; std::getline(in, line);) {
    const std::vector<std::string> cells = Split(line, kSeparator);
    if (cells.empty() || header.empty()) {
      header = cells;
      continue;
    }
    EXPECT_EQ(cells.size(), header.size()) << line;
    Cells& row = rows.emplace_back();
    for (std::size_t i = 0; i < std::min(cells.size(), header.size()); ++i)
      row[header[i]] = cells[i];
  }
  return rows;
}

std::vector<Cells> RowsOfReport(const std::string& log, const std::string& report, bool complete) {
  const TempDirectory directory;
  std::vector<std::string> args = {"-log",           log,
                                   "-report",        report,
                                   "-quiet",         "-no_whitespace",
                                   "-csv_separator", std::string(1, kSeparator)};
  if (complete) args.emplace_back("-complete");
  const Outcome outcome = RunIn(directory.path, args);
  EXPECT_EQ(outcome.code, 0);
  return RowsOf(BehindRunHeader(outcome.out));
}

// Numbers in hexadecimal may have zeros in front, identifiers letters of either case, and the other
// reader gives a time to the microsecond. Tables have no comma in a cell.
std::string Comparable(const std::string& text) {
  constexpr std::size_t kMicroseconds = 26;  // "07/07/2018 20:49:33.377003"
  std::string plain;
  for (const char c : text) plain += static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
  std::replace(plain.begin(), plain.end(), ',', ';');
  if (plain.size() > kMicroseconds && plain[2] == '/' && plain[19] == '.')
    plain.resize(kMicroseconds);
  if (!plain.starts_with("0x")) return plain;
  const std::size_t digit = std::min(plain.find_first_not_of('0', 2), plain.size() - 1);
  return "0x" + plain.substr(digit);
}

bool HasCells(const Cells& row, const Found& found) {
  if (row.at("Record#") != found.record) return false;
  return std::all_of(found.cells.begin(), found.cells.end(), [&row](const auto& cell) {
    const auto at = row.find(cell.first);
    return at != row.end() && Comparable(at->second) == Comparable(cell.second);
  });
}

std::string Described(const Cells& cells) {
  std::string text;
  for (const auto& [name, value] : cells) text += name + "=" + value + "; ";
  return text;
}

std::map<std::pair<std::string, std::string>, std::size_t> Counts(const std::vector<Cells>& rows) {
  std::map<std::pair<std::string, std::string>, std::size_t> counts;
  for (const Cells& row : rows) ++counts[{row.at("EventID"), row.at("name")}];
  return counts;
}

// With -complete more records may be found, and every value is what it is.
void ExpectFound(const std::vector<Cells>& rows, const FoundByLine& expected, bool complete) {
  auto counts = Counts(rows);
  for (const auto& [line, found] : expected) {
    const std::size_t count = std::exchange(counts[line], 0);
    EXPECT_TRUE(complete ? count >= found.count : count == found.count)
        << line.first << ", " << line.second << ": " << count << ", not " << found.count;
  }
  for (const auto& [line, count] : counts) EXPECT_EQ(complete ? 0 : count, 0U) << line.second;
  for (const auto& [line, found] : expected) {
    if (!complete) continue;
    const bool any = std::any_of(rows.begin(), rows.end(), [&](const Cells& row) {
      return row.at("EventID") == line.first && row.at("name") == line.second &&
             HasCells(row, found);
    });
    std::string same_record;
    for (const Cells& row : rows) {
      if (row.at("Record#") == found.record) same_record += Described(row) + "\n";
    }
    EXPECT_TRUE(any) << line.second << ", record " << found.record << " should have "
                     << Described(found.cells) << "\nbut has " << same_record;
  }
}

// Each log of the table with each report, those that find nothing in it included.
TEST(ReportLibraryRealLogs, FindWhatAnotherReaderFinds) {
  const char* const root = std::getenv("TARNLEX_LOGS");
  if (root == nullptr) GTEST_SKIP() << "TARNLEX_LOGS is not set";
  const Expected table = ReadTable();
  std::set<std::string> logs;
  for (const auto& [key, lines] : table) logs.insert(key.first);
  ASSERT_GT(logs.size(), 40U);
  for (const std::string& log : logs) {
    for (const LibraryReport& report : ReportLibrary()) {
      SCOPED_TRACE(log + ", " + std::string(report.name));
      const auto found = table.find({log, std::string(report.name)});
      const FoundByLine expected = found == table.end() ? FoundByLine{} : found->second;
      const std::string path = std::string(root) + "/" + log;
      for (const bool complete : {false, true}) {
        ExpectFound(RowsOfReport(path, std::string(report.name), complete), expected, complete);
      }
    }
  }
}

}  // namespace
}  // namespace tarnlex
