#include "output/record_output.h"

#include <utility>

#include "logs/output_guard.h"
#include "logs/paths.h"
#include "logs/platform.h"
#include "logs/text.h"
#include "output/table.h"

namespace tarnlex {
namespace {

std::string_view Extension(const RunOptions& options) {
  if (options.bodyfile_form) return ".body";
  if (options.csvgen_form || options.l2t_form || options.csv_form) return ".csv";
  return ".txt";
}

// The log's file name, numbered when another log of the run has taken it. Names that differ only in
// case are one file on many systems.
std::string FreeName(RecordOutput& output, std::string_view name, std::string_view extension) {
  std::string candidate = std::string(name).append(extension);
  for (int number = 2; !output.names.insert(ToLowerAscii(candidate)).second; ++number) {
    candidate = std::string(name).append("_").append(std::to_string(number)).append(extension);
  }
  return candidate;
}

// The file for the log's records; nullptr for standard output.
OutputFile* FileFor(RecordOutput& output, const LogInfo& log, const RunOptions& options) {
  if (!options.to_file && !options.have_out_dir) return nullptr;
  const auto [at, added] = output.files.try_emplace(options.to_file ? std::string() : log.path);
  OutputFile& file = at->second;
  if (!added) return &file;
  file.path =
      options.to_file
          ? options.out_file
          : JoinPath(options.out_dir, FreeName(output, FileNameOf(log.path), Extension(options)));
  return &file;
}

void SayCannotOpen(const RunOptions& options, const std::string& path) {
  if (options.messages == nullptr) return;
  AppendNow(*options.messages, "prob opening file " + path + " for output, aborting\n");
}

// Makes `file` the one that is open.
bool OpenFile(RecordOutput& output, OutputFile& file, const RunOptions& options) {
  if (file.failed) return false;
  if (output.current == &file) return true;
  CloseRecordOutput(output);
  const bool is_input = !file.begun && IsSameFile(file.path, options.logs, options.cmd_file);
  auto write = is_input ? std::nullopt : output.open(file.path, file.begun);
  if (!write) {
    file.failed = true;
    output.refused = true;
    SayCannotOpen(options, file.path);
    return false;
  }
  file.begun = true;
  output.current = &file;
  output.sink.write = std::move(*write);
  output.sink.failed = false;
  return true;
}

}  // namespace

RecordOutput MakeRecordOutput(TextSink& standard_output) {
  return MakeRecordOutput(standard_output, OpenGuardedOutput);
}

RecordOutput MakeRecordOutput(TextSink& standard_output, OutputOpener open) {
  RecordOutput output;
  output.standard_output = &standard_output;
  output.open = std::move(open);
  return output;
}

bool WriteRecords(RecordOutput& output, const EventRows& rows, const LogInfo& log,
                  RunOptions& options) {
  if (rows.rows.empty()) return false;
  OutputFile* file = FileFor(output, log, options);
  if (file == nullptr) {
    WriteLogResults(*output.standard_output, rows, log, options);
    Flush(*output.standard_output);
    return true;
  }
  if (!OpenFile(output, *file, options)) return false;
  std::swap(options.header_pending, file->header_pending);
  WriteLogResults(output.sink, rows, log, options);
  std::swap(options.header_pending, file->header_pending);
  Flush(output.sink);
  return true;
}

bool HasFailed(const RecordOutput* output) {
  return output != nullptr &&
         (output->failed || output->sink.failed || output->standard_output->failed);
}

void CloseRecordOutput(RecordOutput& output) {
  if (output.current == nullptr) return;
  Close(output.sink);
  output.failed = output.failed || output.sink.failed;
  output.current = nullptr;
}

}  // namespace tarnlex
