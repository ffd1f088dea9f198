// The parts of a log are the log: together they give each record once, and counts that add up.
#include <map>
#include <sstream>

#include "logs/text.h"
#include "tests/end_to_end/in_process.h"
#include "tests/end_to_end/real_logs.h"
#include "tests/end_to_end/sample_files.h"
#include "tests/support/breakers.h"
#include "tests/support/evtx_builder.h"

namespace tarnlex {
namespace {

using Form = std::vector<std::string>;

// What comes of one part; the header of a stream goes to standard error.
std::string PartOf(const std::string& directory, const std::string& log, Form args, int part,
                   int parts) {
  args.insert(args.end(), {"-log", log, "-quiet"});
  if (parts > 0) {
    args.insert(args.end(), {"-part", std::to_string(part) + "/" + std::to_string(parts)});
  }
  const Outcome run = RunIn(directory, args);
  EXPECT_EQ(run.code, 0) << log;
  const bool is_stream = args.front() == "-json" || args.front() == "-event_json";
  return is_stream ? run.out : std::string(BehindRunHeader(run.out));
}

std::string WholeOf(const std::string& directory, const std::string& log, const Form& args) {
  return PartOf(directory, log, args, 1, 0);
}

std::string Joined(const std::string& directory, const std::string& log, const Form& args,
                   int parts) {
  std::string text;
  for (int part = 1; part <= parts; ++part) text += PartOf(directory, log, args, part, parts);
  return text;
}

// Rows without what the header calls them by: tables of parts may lack columns of the whole.
std::vector<std::string> Rows(const std::string& text) {
  std::vector<std::string> rows;
  std::istringstream lines(text);
  for (std::string line; std::getline(lines, line);) {
    if (!line.starts_with("Record#")) rows.push_back(line);
  }
  std::sort(rows.begin(), rows.end());
  return rows;
}

void ExpectPartsToBeTheWhole(const std::string& directory, const std::string& log, int parts) {
  SCOPED_TRACE(log + ", " + std::to_string(parts) + " parts");
  for (const Form& stream : {Form{"-json"}, Form{"-event_json"}}) {
    EXPECT_EQ(Joined(directory, log, stream, parts), WholeOf(directory, log, stream));
  }
  for (const char* policy : {"-verbose", "-complete"}) {
    const Form form = {"-csvgen", policy, "-columns", "Record#|EventID|Date|Time-UTC|Computer"};
    EXPECT_EQ(Rows(Joined(directory, log, form, parts)), Rows(WholeOf(directory, log, form)));
  }
}

// Logs that are damaged in places that parts are cut at.
std::vector<std::string> WriteLogsOfManyChunks(const std::string& directory) {
  support::EvtxBuilder log;
  for (int i = 0; i < 9; ++i) {
    log.AddChunk();
    for (int j = 0; j <= i; ++j) log.AddEvent({.event_id = static_cast<std::uint32_t>(100 + j)});
  }
  const support::ByteString sound = log.Build();
  support::ByteString gaps = sound;
  support::RemoveChunkMagic(gaps, 0);
  support::InsertSlot(gaps, 4);
  support::CutLastChunk(gaps, 3000);
  support::ByteString bare(sound.begin() + support::kEvtxHeaderSize, sound.end());
  bare.resize(bare.size() + 700);
  const std::map<std::string, support::ByteString> logs = {
      {"sound.evtx", sound}, {"gaps.evtx", gaps}, {"bare.bin", bare}};
  std::vector<std::string> names;
  for (const auto& [name, bytes] : logs) {
    std::ofstream(directory + "/" + name, std::ios::binary)
        .write(reinterpret_cast<const char*>(bytes.data()),
               static_cast<std::streamsize>(bytes.size()));
    names.push_back(name);
  }
  return names;
}

TEST(Parts, AreTheWholeLog) {
  const TempDirectory directory;
  WriteSampleFiles(directory.path);
  std::vector<std::string> logs = WriteLogsOfManyChunks(directory.path);
  logs.insert(logs.end(), {"plain.evtx", "torn.evtx", "damaged.evtx", "chunk.bin", "SecEvent.Evt",
                           "ring/SysEvent.Evt"});
  for (const std::string& log : logs) {
    for (const int parts : {1, 2, 3, 9, 10, 64}) {
      ExpectPartsToBeTheWhole(directory.path, log, parts);
    }
  }
}

TEST(Parts, TheFirstHasAllOfAnEvtLog) {
  const TempDirectory directory;
  WriteSampleFiles(directory.path);
  EXPECT_EQ(PartOf(directory.path, "SecEvent.Evt", {"-csv"}, 1, 4),
            WholeOf(directory.path, "SecEvent.Evt", {"-csv"}));
  EXPECT_EQ(PartOf(directory.path, "SecEvent.Evt", {"-csv"}, 2, 4), "");
}

// Counts by what they are of, with the first and the last time.
struct Counted {
  std::uint64_t count = 0;
  std::string first;
  std::string last;
  bool operator==(const Counted&) const = default;
};
using Counts = std::map<std::string, Counted>;

// Adds the lines of a file of -stats: identifier, count, from (2), to (2), what it is of.
void AddCounts(const std::string& path, Counts& counts) {
  std::istringstream lines(ReadFile(path));
  for (std::string line; std::getline(lines, line);) {
    Form cells;
    SplitList(line, ',', false, cells);
    for (std::string& cell : cells) cell = Trim(cell);
    if (cells.size() < 6 || LeadingNumber(cells[1]) == 0) continue;
    std::string key = cells[0];
    for (std::size_t i = 6; i < cells.size(); ++i) key += "," + cells[i];
    Counted& counted = counts[key];
    const std::string first = cells[2] + cells[3];
    counted.count += LeadingNumber(cells[1]);
    if (counted.first.empty() || (!first.empty() && first < counted.first)) counted.first = first;
    counted.last = std::max(counted.last, cells[4] + cells[5]);
  }
}

// Returns how many things were counted.
std::size_t ExpectCountsToAddUp(const std::string& directory, const std::string& log,
                                const Form& args) {
  const std::string file = directory + "/counts.txt";
  Form form = {"-csv", "-dateformat", "yyyy-mm-dd", "-no_whitespace", "-stats", file};
  form.insert(form.end(), args.begin(), args.end());
  WholeOf(directory, log, form);
  Counts whole;
  AddCounts(file, whole);
  Counts sum;
  for (int part = 1; part <= 4; ++part) {
    PartOf(directory, log, form, part, 4);
    AddCounts(file, sum);
  }
  EXPECT_EQ(sum.size(), whole.size()) << log;
  for (const auto& [key, counted] : whole) {
    EXPECT_EQ(sum[key].count, counted.count) << key;
    EXPECT_EQ(sum[key].first, counted.first) << key;
    EXPECT_EQ(sum[key].last, counted.last) << key;
  }
  return whole.size();
}

TEST(Parts, HaveStatisticsThatAddUp) {
  const TempDirectory directory;
  WriteSampleFiles(directory.path);
  WriteLogsOfManyChunks(directory.path);
  for (const char* log : {"sound.evtx", "gaps.evtx", "plain.evtx", "SecEvent.Evt"}) {
    EXPECT_GT(ExpectCountsToAddUp(directory.path, log, {}), 2U);
    EXPECT_GT(ExpectCountsToAddUp(directory.path, log, {"-complete", "-hist", "Computer|EventID"}),
              4U);
  }
}

TEST(RealLogs, PartsAreTheWholeLog) {
  const std::vector<std::string> logs = PathsOfRealLogs();
  if (logs.empty()) GTEST_SKIP() << "TARNLEX_LOGS is not set";
  const TempDirectory directory;
  for (const std::string& log : logs) {
    for (const int parts : {2, 5}) ExpectPartsToBeTheWhole(directory.path, log, parts);
    ExpectCountsToAddUp(directory.path, log, {});
  }
}

}  // namespace
}  // namespace tarnlex
