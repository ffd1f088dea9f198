#include "output/record_output.h"

#include <algorithm>
#include <utility>

#include "logs/messages.h"
#include "logs/output_guard.h"
#include "logs/paths.h"
#include "logs/platform.h"
#include "logs/text.h"
#include "output/event_xml.h"
#include "output/mirrored_folder.h"
#include "output/picked_columns.h"
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
  if (output.names.insert(ToLowerAscii(candidate)).second) return candidate;
  int& number = output.next_numbers.try_emplace(ToLowerAscii(candidate), 2).first->second;
  do {
    candidate = std::string(name).append("_").append(std::to_string(number++)).append(extension);
  } while (!output.names.insert(ToLowerAscii(candidate)).second);
  return candidate;
}

// What the records of a part of a log are called by, so that the parts lie side by side in order.
std::string PartName(const RunOptions& options) {
  if (options.parts == 1) return {};
  const std::string parts = std::to_string(options.parts);
  std::string part = std::to_string(options.part);
  part.insert(0, parts.size() - part.size(), '0');
  return "_part" + part + "of" + parts;
}

// The folder that mirrors where the log lies, and all that it lies in: none may be a log's file.
void KeepFolderNames(RecordOutput& output, const std::string& path, const RunOptions& options) {
  std::string folder = ToLowerAscii(MirroredFolder(path, options));
  while (!folder.empty() && output.names.insert(folder).second) {
    folder.resize(folder.size() - std::min(folder.size(), FileNameOf(folder).size() + 1));
  }
}

// The file for the records of the log at `path`; nullptr for standard output.
OutputFile* FileFor(RecordOutput& output, const std::string& path, const RunOptions& options) {
  if (!options.to_file && !options.have_out_dir) return nullptr;
  const auto [at, added] = output.files.try_emplace(options.to_file ? std::string() : path);
  OutputFile& file = at->second;
  if (!added) return &file;
  if (options.to_file) {
    file.path = options.out_file;
    return &file;
  }
  const std::string folder = MirroredFolder(path, options);
  std::string name = std::string(FileNameOf(path)) + PartName(options);
  if (!folder.empty()) name = JoinPath(folder, name);
  file.path = JoinPath(options.out_dir, FreeName(output, name, Extension(options)));
  return &file;
}

// Whether the file at `path` is one that the run reads, by the file itself and not by how it is
// spelled. Those that it reads may be many, so they are looked up once.
bool IsInput(RecordOutput& output, const std::string& path, const RunOptions& options) {
  const auto id = IdentifyFile(path);
  if (!id) return false;
  if (!output.inputs_known) {
    for (const std::string& log : output.being_read) {
      if (const auto input = IdentifyFile(log)) output.inputs.insert(*input);
    }
    output.inputs_known = true;
  }
  return output.inputs.contains(*id) || id == IdentifyFile(options.cmd_file) ||
         id == IdentifyFile(options.account_file);
}

// The folder of a file that mirrors where its log lies may not be there yet.
void MakeFolderOf(const OutputFile& file, const RunOptions& options) {
  const std::size_t name = FileNameOf(file.path).size();
  const std::string folder = file.path.substr(0, file.path.size() - name);
  if (folder.size() > options.out_dir.size() + 1) MakeDirectory(folder);
}

// Makes `file` the one that is open.
bool OpenFile(RecordOutput& output, OutputFile& file, const RunOptions& options) {
  if (file.failed) return false;
  if (output.current == &file) return true;
  CloseRecordOutput(output);
  const bool is_input = !file.begun && IsInput(output, file.path, options);
  if (!file.begun && options.have_out_dir && !options.to_file) MakeFolderOf(file, options);
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
std::set<FileId> FilesInUse(const RecordOutput& output, const RunOptions& options) {
  const std::vector<FileId> streams = StandardStreamFiles();
  std::set<FileId> files(streams.begin(), streams.end());
  const auto add = [&files](const std::string& path) {
    if (const auto id = IdentifyFile(path)) files.insert(*id);
  };
  for (const std::string& log : output.logs) add(log);
  for (const auto& [log, file] : output.files) {
    if (file.begun) add(file.path);
  }
  for (const auto* path :
       {&options.cmd_file, &options.stats_file, &options.diags_file, &options.account_file}) {
    add(*path);
  }
  return files;
}

// False when the file should have gone and has not.
bool RemoveStaleFile(const std::string& path, const std::set<FileId>& in_use) {
  const auto id = IdentifyFile(path);
  if (id && in_use.contains(*id)) return true;
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
  NoteColumns(rows, log, options, output.missing_columns);
  OutputFile* file = FileFor(output, log.path, options);
  if (file == nullptr) {
    WriteLogResults(*output.standard_output, rows, log, options, output.header_pending);
    Flush(*output.standard_output);
    return output.wrote = true;
  }
  if (!OpenFile(output, *file, options)) return false;
  WriteLogResults(output.sink, rows, log, options, file->header_pending);
  Flush(output.sink);
  return output.wrote = true;
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
  output.being_read.clear();
  output.inputs.clear();
  output.inputs_known = false;
  for (const auto& [path, log] : logs) output.being_read.push_back(path);
  if (options.to_file || !options.have_out_dir) return;
  for (const auto& [path, log] : logs) {
    output.logs.push_back(path);
    KeepFolderNames(output, path, options);
  }
}

void RemoveStaleFiles(RecordOutput& output, const RunOptions& options) {
  std::set<FileId> in_use;
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
