// Where records go: standard output, one file for the whole run, or one file per log.
#pragma once

#include <functional>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "logs/log_info.h"
#include "logs/platform.h"
#include "logs/run_options.h"
#include "logs/text_sink.h"
#include "output/event_rows.h"

namespace tarnlex {

// Opens a file for writing, truncated or behind what it holds (see OpenOutput).
using OutputOpener = std::function<std::optional<std::function<bool(std::string_view)>>(
    const std::string& path, bool append)>;

// A file of this run; one that was begun is never truncated again.
struct OutputFile {
  std::string path;
  bool begun = false;
  bool failed = false;         // could not be opened, which was said once
  bool header_pending = true;  // what stands in front of all records is still to be written
};

struct RecordOutput {
  TextSink* standard_output = nullptr;
  TextSink* messages = nullptr;  // where files that cannot be written or removed are named
  bool header_pending = true;    // to standard output
  OutputOpener open;
  std::map<std::string, OutputFile, std::less<>> files;  // by log path; by "" with -out
  std::set<std::string> names;              // lower-cased: of the files, and of folders for them
  std::map<std::string, int> next_numbers;  // by the name that several logs have, lower-cased
  OutputFile* current = nullptr;            // the one file that is open
  TextSink sink;                            // of `current`
  std::vector<std::string> being_read;      // never to be written, see ExpectLogs
  std::set<FileId> inputs;                  // the same by the files themselves...
  bool inputs_known = false;                // ...once it has been asked for
  std::vector<std::string> logs;  // paths of all logs that -outdir answers for, as they came
  std::vector<std::string> missing_columns;  // of -columns: no record had them so far
  bool wrote = false;                        // a record was handed on
  bool failed = false;                       // a file that is closed again was cut short
  bool refused = false;  // a file could not be opened, and its records are nowhere; or
                         // one of an earlier run could not be removed
};

// Records go where `options` says at each call of WriteRecords; nothing is opened yet.
RecordOutput MakeRecordOutput(TextSink& standard_output, TextSink& messages);
RecordOutput MakeRecordOutput(TextSink& standard_output, TextSink& messages, OutputOpener open);

// Writes the rows of `log` in the run's form and hands everything on. True when rows
// were written; false for an empty collection, and when the file cannot be opened, which is said on
// `messages`. May be called several times for one log: its file goes on.
bool WriteRecords(RecordOutput& output, const EventRows& rows, const LogInfo& log,
                  const RunOptions& options);

// Where the next record of `log` goes, for forms that write records as they are read; null when the
// file cannot be opened, which is said on `messages`.
TextSink* RecordSink(RecordOutput& output, const LogInfo& log, const RunOptions& options);

// Ends what was written, for forms that have something behind the last record; before the output is
// closed. One that holds no records is whole as well: standard output, or the one file of the run.
void EndRecords(RecordOutput& output, const RunOptions& options);

// Whether a record could not be written; what follows it would be worthless.
bool HasFailed(const RecordOutput& output);

// Notes which logs are read from now on: no record may go into one of them, and -outdir is to
// answer for them (see RemoveStaleFiles).
void ExpectLogs(RecordOutput& output, const LogTable& logs, const RunOptions& options);

// At the end of a run with -outdir: the files that earlier runs left there under the names that the
// records of logs without any would have gone to, and that would pass for this run's answer, are
// removed. What holds an event log, is a link or is used by this run stays. A file that cannot be
// removed is named on `messages`.
void RemoveStaleFiles(RecordOutput& output, const RunOptions& options);

// Hands on what is left and closes the file.
void CloseRecordOutput(RecordOutput& output);

}  // namespace tarnlex
