// measure_crafted PROGRAM FOLDER [RUNS]: what the program costs on each crafted log, in processor
// time and memory of the whole process, as a table. FOLDER gets the logs. Ends with 1 when a run
// fails.
#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>

#include "tests/hostile/crafted_chunks.h"
#include "tests/support/child_run.h"
#include "tests/support/evtx_builder.h"

namespace {

using namespace tarnlex;

struct Form {
  std::string name;
  std::vector<std::string> options;
};

struct Cost {
  double milliseconds = 0;
  double mebibytes = 0;
  bool failed = false;
};

void WriteFile(const std::string& path, const support::ByteString& bytes) {
  std::ofstream file(path, std::ios::binary);
  file.write(reinterpret_cast<const char*>(bytes.data()),
             static_cast<std::streamsize>(bytes.size()));
}

// The least of a few runs: whatever else the machine does only adds to it.
Cost Measure(const std::string& program, const std::string& log, const Form& form, int runs) {
  Cost cost;
  std::vector<std::string> args = form.options;
  args.insert(args.end(), {"-quiet", "-log", log});
  for (int i = 0; i < runs; ++i) {
    const support::ChildRun run = support::RunChild(program, args);
    const double milliseconds = 1000 * run.seconds;
    const double mebibytes = static_cast<double>(run.peak_kib) / 1024;
    cost.failed = cost.failed || run.exit_code != 0;
    cost.milliseconds = i == 0 ? milliseconds : std::min(cost.milliseconds, milliseconds);
    cost.mebibytes = std::max(cost.mebibytes, mebibytes);
  }
  return cost;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc < 3) {
    std::fprintf(stderr, "usage: measure_crafted PROGRAM FOLDER [RUNS]\n");
    return 2;
  }
  const std::string program = argv[1];
  const std::string folder = argv[2];
  const int runs = std::max(1, argc > 3 ? std::atoi(argv[3]) : 5);
  const std::vector<Form> forms = {
      {"table", {}},
      {"-csv", {"-csv"}},
      {"-csvgen", {"-csvgen"}},
      {"-csvl2t", {"-csvl2t"}},
      {"-bodyfile", {"-bodyfile", "-allparams"}},
      {"-multiline", {"-multiline"}},
      {"-string", {"-csv", "-string", "needle"}},
      {"-stats", {"-csv", "-stats", folder + "/stats", "-hist", "n1|n2"}},
      {"-diags", {"-csv", "-diags", folder + "/diags"}},
      {"-complete", {"-csv", "-complete"}},
      {"-json", {"-json"}}};
  std::filesystem::create_directories(folder);
  std::printf("CPU ms, and peak MiB behind a slash\n%-26s", "crafted log");
  for (const Form& form : forms) std::printf(" %12s", form.name.c_str());
  std::printf("\n");
  Cost most;
  std::vector<CraftedLog> logs = CraftedLogs();
  logs.insert(logs.begin(), {"(empty)", FileOfChunks({}, 0), ".evtx"});
  for (const CraftedLog& crafted : logs) {
    const std::string log = folder + "/log" + crafted.extension;
    WriteFile(log, crafted.bytes);
    std::printf("%-26s", crafted.name.c_str());
    for (const Form& form : forms) {
      const Cost cost = Measure(program, log, form, runs);
      std::printf(" %7.1f/%-4.0f%s", cost.milliseconds, cost.mebibytes, cost.failed ? "!" : "");
      std::fflush(stdout);
      most.milliseconds = std::max(most.milliseconds, cost.milliseconds);
      most.mebibytes = std::max(most.mebibytes, cost.mebibytes);
      most.failed = most.failed || cost.failed;
    }
    std::printf("\n");
  }
  std::printf("most: %.1f ms, %.0f MiB\n", most.milliseconds, most.mebibytes);
  return most.failed ? 1 : 0;
}
