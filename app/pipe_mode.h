// Logs whose paths arrive on standard input, one per line, each handled by itself before the next
// is read: the list may be long, and may still be growing.
#pragma once

#include <cstddef>
#include <functional>
#include <span>
#include <string>
#include <vector>

#include "logs/log_info.h"
#include "logs/run_options.h"
#include "logs/text_sink.h"

namespace tarnlex {

// Lines out of a stream of bytes, in pieces of at most 4,095 bytes; a longer line comes as several.
struct LineReader {
  std::function<std::size_t(std::span<char>)> read;  // gives 0 at the end
  std::vector<char> block;
  std::size_t at = 0;
  std::size_t filled = 0;
};

// The next line or piece, with its line feed; false at the end of the stream.
bool ReadPiece(LineReader& reader, std::string& piece);

// What the run does with one log: `process` the work, `finish` after it; `announce`, where it is
// there, shows the status in its own way. When `stop` answers true
// after a log, no further path is read.
struct LogSteps {
  std::function<void(const LogInfo&)> process;
  std::function<void()> finish;
  std::function<void(const LogInfo&)> pass_over = {};  // with one that does not open
  std::function<bool()> stop = {};
  std::function<bool()> cut = {};  // whether the log just processed was not read to its end
  std::function<void(const LogInfo&)> announce = {};
};

// Reads paths to the end of the stream. Each that opens as an event log goes through `steps`;
// others are passed over. An exception ends only the log it came from.
void RunPipedLogs(const RunOptions& options, LineReader& reader, const LogSteps& steps,
                  TextSink& messages);

}  // namespace tarnlex
