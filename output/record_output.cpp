#include "output/record_output.h"

#include <algorithm>
#include <utility>

#include "logs/messages.h"
#include "logs/output_guard.h"
#include "logs/paths.h"
#include "logs/platform.h"
#include "logs/text.h"
#include "output/event_xml.h"
#include "output/table.h"

namespace tarnlex {
namespace {

std::string_view Extension(const RunOptions& options) {
  if (options.json_form || options.event_json_form) return ".jsonl";
  if (options.event_xml_form) return ".xml";
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

// The file for the records of the log at `path`; nullptr for standard output.
OutputFile* FileFor(RecordOutput& output, const std::string& path, const RunOptions& options) {
  if (!options.to_file && !options.have_out_dir) return nullptr;
  const auto [at, added] = output.files.try_emplace(options.to_file ? std::string() : path);
  OutputFile& file = at->second;
  if (!added) return &file;
  file.path = options.to_file ? options.out_file
                              : JoinPath(options.out_dir,
                                         FreeName(output, FileNameOf(path), Extension(options)));
  return &file;
}

// Makes `file` the one that is open.
bool OpenFile(RecordOutput& output, OutputFile& file, const RunOptions& options) {
  if (file.failed) return false;
  if (output.current == &file) return true;
  CloseRecordOutput(output);
  const bool is_input = !file.begun && IsSameFile(file.path, output.being_read, options.cmd_file);
  auto write = is_input ? std::nullopt : output.open(file.path, file.begun);
  if (!write) {
    file.failed = true;
    output.refused = true;
    Say(*output.messages, "prob opening file ", file.path, " for output, aborting\n");
    return false;
  }
  file.begun = true;
  output.current = &file;
  output.sink.write = std::move(*write);
  output.sink.failed = false;
  return true;
}

// Every file that the run has read or written. Two names may be one file: by a link, or where names
// that differ in case are the same.
std::vector<FileId> FilesInUse(const RecordOutput& output, const RunOptions& options) {
  std::vector<FileId> files = StandardStreamFiles();
  const auto add = [&files](const std::string& path) {
    if (const auto id = IdentifyFile(path)) files.push_back(*id);
  };
  for (const std::string& log : output.logs) add(log);
  for (const auto& [log, file] : output.files) {
    if (file.begun) add(file.path);
  }
  for (const auto* path : {&options.cmd_file, &options.stats_file, &options.diags_file}) add(*path);
  return files;
}

// False when the file should have gone and has not.
bool RemoveStaleFile(const std::string& path, const std::vector<FileId>& in_use) {
  const auto id = IdentifyFile(path);
  if (id && std::find(in_use.begin(), in_use.end(), *id) != in_use.end()) return true;
  if (!id || !OpenInput(path)) return false;  // nobody knows what it holds
  return HoldsEventLog(path) || RemoveFile(path);
}

}  // namespace

RecordOutput MakeRecordOutput(TextSink& standard_output, TextSink& messages) {
  return MakeRecordOutput(standard_output, messages, OpenGuardedOutput);
}

RecordOutput MakeRecordOutput(TextSink& standard_output, TextSink& messages, OutputOpener open) {
  RecordOutput output;
  output.messages = &messages;
  output.standard_output = &standard_output;
  output.open = std::move(open);
  return output;
}

bool WriteRecords(RecordOutput& output, const EventRows& rows, const LogInfo& log,
                  const RunOptions& options) {
  if (rows.rows.empty()) return false;
  OutputFile* file = FileFor(output, log.path, options);
  if (file == nullptr) {
    WriteLogResults(*output.standard_output, rows, log, options, output.header_pending);
    Flush(*output.standard_output);
    return true;
  }
  if (!OpenFile(output, *file, options)) return false;
  WriteLogResults(output.sink, rows, log, options, file->header_pending);
  Flush(output.sink);
  return true;
}

TextSink* RecordSink(RecordOutput& output, const LogInfo& log, const RunOptions& options) {
  OutputFile* const file = FileFor(output, log.path, options);
  if (file && !OpenFile(output, *file, options)) return nullptr;
  TextSink& sink = file ? output.sink : *output.standard_output;
  bool& pending = file ? file->header_pending : output.header_pending;
  if (options.event_xml_form && pending) Append(sink, kXmlBegin);
  pending = false;
  return &sink;
}

void EndRecords(RecordOutput& output, const RunOptions& options) {
  if (!options.event_xml_form || HasFailed(output)) return;
  if (options.to_file || !options.have_out_dir) {
    if (TextSink* const sink = RecordSink(output, {}, options)) Append(*sink, kXmlEnd);
    return;
  }
  for (auto& [log, file] : output.files) {
    if (file.begun && OpenFile(output, file, options)) Append(output.sink, kXmlEnd);
  }
}

bool HasFailed(const RecordOutput& output) {
  return output.failed || output.sink.failed || output.standard_output->failed;
}

void ExpectLogs(RecordOutput& output, const LogTable& logs, const RunOptions& options) {
  output.being_read = logs;
  if (options.to_file || !options.have_out_dir) return;
  for (const auto& [path, log] : logs) output.logs.push_back(path);
}

void RemoveStaleFiles(RecordOutput& output, const RunOptions& options) {
  std::vector<FileId> in_use;
  for (const std::string& log : output.logs) {
    if (output.files.contains(log)) continue;
    const std::string& path = FileFor(output, log, options)->path;
    if (!IsPlainFile(path)) continue;
    if (in_use.empty()) in_use = FilesInUse(output, options);
    if (RemoveStaleFile(path, in_use)) continue;
    Say(*output.messages, "prob removing file ", path, " of an earlier run\n");
    output.refused = true;
  }
}

void CloseRecordOutput(RecordOutput& output) {
  if (output.current == nullptr) return;
  Close(output.sink);
  output.failed = output.failed || output.sink.failed;
  output.current = nullptr;
}

}  // namespace tarnlex
