// Searches images that are in memory, for the tests of this folder.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <string_view>
#include <vector>

#include "evt/carve.h"
#include "output/record_output.h"
#include "reports/carve_image.h"
#include "reports/command_language.h"
#include "reports/walk_log.h"
#include "tests/support/evtx_builder.h"

namespace tarnlex {

// A record as a line of JSON, taken apart.
struct Carved {
  std::string log;
  std::uint64_t offset = 0;
  std::uint64_t id = 0;
  std::string checked;
  std::string event;  // the line without what tells the place

  bool operator==(const Carved&) const = default;
};

struct CarvedImage {
  std::vector<Carved> records;
  CarveCounts counts;
  RecoveryCounts recovered;
};

inline std::uint64_t NumberBehind(std::string_view line, std::string_view name) {
  const std::size_t at = line.find(name);
  return at == std::string_view::npos ? 0 : std::stoull(std::string(line.substr(at + name.size())));
}

inline Carved TakeApart(std::string_view line) {
  Carved record;
  const std::size_t end = line.find("\",");
  record.log = line.substr(8, end - 8);
  const std::size_t offset = line.rfind(",\"Offset\":");
  record.offset = NumberBehind(line.substr(offset), ":");
  record.id = NumberBehind(line, "\"EventRecordID\":");
  record.event = line.substr(end, offset - end);
  constexpr std::string_view kChecked = "\"Checked\":\"";
  const std::size_t checked = line.find(kChecked, offset);
  if (checked != std::string_view::npos) {
    line.remove_prefix(checked + kChecked.size());
    record.checked = line.substr(0, line.find('"'));
  }
  return record;
}

inline std::vector<Carved> RecordsOf(std::string_view lines) {
  std::vector<Carved> records;
  while (!lines.empty()) {
    const std::size_t end = lines.find('\n');
    records.push_back(TakeApart(lines.substr(0, end)));
    lines.remove_prefix(end + 1);
  }
  return records;
}

inline InputFile InMemory(const support::ByteString& bytes) {
  InputFile file;
  file.size = bytes.size();
  file.read = [&bytes](std::uint64_t offset, std::span<std::uint8_t> to) {
    const Bytes part = Clip(bytes, offset, to.size());
    std::copy(part.begin(), part.end(), to.begin());
    return part.size();
  };
  return file;
}

inline RunOptions JsonOptions() {
  RunOptions options;
  options.images = {"image"};
  options.complete = options.json_form = true;
  options.show_status = false;
  options.event_ids = {kAnyEventId};
  return options;
}

inline CarvedImage Carve(const ImageFile& image) {
  const RunOptions options = JsonOptions();
  std::string written;
  TextSink out = MakeStringSink(written);
  RunState run{out, MakeRecordOutput(out, out)};
  LogInfo log{.path = "image"};
  QueryList evtx_queries = PlainQueries(log, options);
  LogPass evtx{options, run, log, evtx_queries};
  log.is_evtx = false;
  QueryList evt_queries = PlainQueries(log, options);
  LogPass evt{options, run, log, evt_queries};
  CarveOpenImage(evtx, evt, image);
  Flush(out);
  return {RecordsOf(written), evtx.account.carved, evtx.account.evtx.recovered};
}

inline CarvedImage Carve(const support::ByteString& bytes) {
  ImageFile image;
  image.file = InMemory(bytes);
  image.next_stretch = [size = bytes.size()](std::uint64_t offset) {
    return FileStretch{std::min<std::uint64_t>(offset, size), size};
  };
  return Carve(image);
}

// The records of a log as -complete gives them.
inline std::vector<Carved> RecordsOfLog(const support::ByteString& bytes) {
  RunOptions options = JsonOptions();
  options.images.clear();
  std::string written;
  TextSink out = MakeStringSink(written);
  RunState run{out, MakeRecordOutput(out, out)};
  LogInfo log{.path = "log"};
  QueryList queries = PlainQueries(log, options);
  LogPass pass{options, run, log, queries};
  WalkLogFile(pass, InMemory(bytes));
  Flush(out);
  return RecordsOf(written);
}

}  // namespace tarnlex
