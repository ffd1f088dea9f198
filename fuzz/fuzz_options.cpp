// The arguments of a call, one a line, read and prepared for. That opens and creates files, so it
// happens in a folder of its own and meets neither "/" nor variables of the environment.
#include <stdlib.h>
#include <unistd.h>

#include <filesystem>

#include "app/prepare_run.h"
#include "app/run_header.h"
#include "app/usage.h"
#include "fuzz/fuzz_target.h"
#include "logs/text.h"

namespace {

void EnterEmptyFolder() {
  static const bool entered = [] {
    std::string name = (std::filesystem::temp_directory_path() / "tarnlex_fuzz_XXXXXX").string();
    if (mkdtemp(name.data()) == nullptr || chdir(name.c_str()) != 0) abort();
    return clearenv() == 0;
  }();
  if (!entered) abort();
}

void EmptyFolder() {
  std::error_code ignored;
  for (const auto& entry : std::filesystem::directory_iterator(".", ignored)) {
    std::filesystem::remove_all(entry.path(), ignored);
  }
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace tarnlex;
  EnterEmptyFolder();
  Arguments args;
  SplitList(ReplaceChar(TextOfInput(data, size), '/', '_'), '\n', false, args);
  args.insert(args.begin(), "tarnlex");
  std::erase(args, "..");
  TextSink nowhere = MakeSink([](std::string_view) { return true; });
  WantsHelp(args);
  CommandLineText(args);
  const CommandLine line = ReadCommandLine(args, 133'000'000'000'000'000);
  const RunOptions& options = line.options;
  {
    RunState run{nowhere, MakeRecordOutput(nowhere, nowhere)};
    PrepareRun(line, run);
  }
  if (options.to_file || options.have_out_dir || options.diags_on) EmptyFolder();
  return 0;
}
