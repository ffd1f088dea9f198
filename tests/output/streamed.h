// Lines that the forms which are streams write of built logs.
#pragma once

#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "logs/run_options.h"
#include "logs/text_sink.h"
#include "output/record_output.h"
#include "reports/command_language.h"
#include "reports/log_pass.h"
#include "reports/run_state.h"
#include "reports/walk_log.h"
#include "tests/support/evtx_builder.h"

namespace tarnlex {

// Everything that a form writes of a log; `trace` for what -diags says of it, `pull` for names that
// a report pulls.
inline std::string Streamed(const support::ByteString& log, bool RunOptions::*form,
                            std::string* trace = nullptr,
                            const std::vector<std::string>& pull = {}) {
  InputFile file;
  file.size = log.size();
  file.read = [&log](std::uint64_t offset, std::span<std::uint8_t> to) {
    const Bytes part = Clip(log, offset, to.size());
    std::copy(part.begin(), part.end(), to.begin());
    return part.size();
  };
  RunOptions options;
  options.*form = true;
  options.complete = true;
  options.show_status = false;
  options.event_ids = {kAnyEventId};
  const LogInfo info{.path = "log"};
  QueryList queries = PlainQueries(info, options);
  for (QuerySpec& query : queries) {
    query.all_data = query.all_data && pull.empty();
    query.pull.insert(query.pull.end(), pull.begin(), pull.end());
  }
  std::string text;
  TextSink out = MakeStringSink(text);
  RunState run{out, MakeRecordOutput(out, out)};
  if (trace) run.diags = MakeStringSink(*trace);
  LogPass pass{options, run, info, queries};
  WalkLogFile(pass, file);
  EndRecords(run.records, options);
  Flush(out);
  if (run.diags) Flush(*run.diags);
  return text;
}

// Adds an event whose "EventData" holds `nodes`.
inline void AddEventData(support::EvtxBuilder& log, std::vector<support::Node> nodes,
                         std::vector<support::Value> values) {
  log.AddRecord(
      {.body = support::InstanceFragment(
           support::MakeTemplate(
               "event", {support::Element("Event", {},
                                          {support::Element("EventData", {}, std::move(nodes))})}),
           std::move(values))});
}

// A log of one such event.
inline support::ByteString EventDataLog(std::vector<support::Node> nodes,
                                        std::vector<support::Value> values) {
  support::EvtxBuilder log;
  AddEventData(log, std::move(nodes), std::move(values));
  return log.Build();
}

// Two events of one kind, "a" and "b", of which a value says what the "Data" is called.
inline support::ByteString NamedByValuesLog() {
  using support::Element;
  support::EvtxBuilder log;
  for (const char* name : {"a", "b"}) {
    AddEventData(log,
                 {Element("Data", {support::Attribute("Name", support::Slot(0, support::kString))},
                          {Element("X", {}, {support::Slot(1, support::kString)})})},
                 {support::StringValue(name), support::StringValue("v")});
  }
  return log.Build();
}

// An element that would be repeated for each of 500 values, with another of 20,000 inside.
inline support::ByteString ArrayInsideOfRepeatedLog() {
  using support::Element;
  const auto array = [](std::size_t count) {
    return support::RawValue(support::kByte | 0x80, support::ByteString(count, 7));
  };
  return EventDataLog({Element("X", {},
                               {support::Slot(0, support::kByte | 0x80),
                                Element("Y", {}, {support::Slot(1, support::kByte | 0x80)})})},
                      {array(500), array(20'000)});
}

// What stands between `front` and `back` in a line; the whole line where they do not.
inline std::string Between(std::string line, std::string_view front, std::string_view back) {
  if (!line.starts_with(front) || !line.ends_with(back)) return line;
  return line.substr(front.size(), line.size() - front.size() - back.size());
}

}  // namespace tarnlex
