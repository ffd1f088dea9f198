// Runs the decoder over built logs and keeps everything it gives, for the tests of this folder.
#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <map>
#include <string>
#include <utility>
#include <vector>

#include "event/system_time.h"
#include "evtx/plan_of.h"
#include "evtx/record.h"
#include "evtx/walk.h"
#include "logs/date_time.h"
#include "logs/text.h"
#include "tests/support/evtx_builder.h"

namespace tarnlex {

// What stands for the text of a value that an optional substitution leaves unresolved.
inline constexpr const char* kUnresolvedText = "(unresolved)";

using Values = std::map<std::string, std::string>;

struct DecodedRecord {
  std::uint64_t record_id = 0;
  std::uint64_t event_id = 0;
  std::uint64_t written_time = 0;
  std::uint64_t time = 0;
  std::uint64_t file_offset = 0;
  std::vector<std::string> names;  // in document order
  Values values;
};

struct DecodedLog {
  std::vector<DecodedRecord> records;
  WalkAccount account;
  std::string trace;
};

inline DecodedRecord Collect(EvtxDecoder& decoder, DecodedEvent& event) {
  DecodedRecord record{event.record_id,
                       event.event_id,
                       event.written_time,
                       event.time,
                       event.record_file_offset,
                       {},
                       {}};
  const Plan& plan = PlanOf(decoder, event);
  EXPECT_EQ(&PlanOf(decoder, event), &plan);
  std::size_t bytes = 0;
  for (const PlanValue& value : plan.values) {
    std::string scratch;
    std::string text(TextOf(event.structure, plan, value, scratch));
    bytes += text.size();
    EXPECT_LE(text.size(), MaxTextSize(event.structure, plan, value));
    if (IsUnresolved(event.structure, plan, value)) text = kUnresolvedText;
    record.names.emplace_back(value.name);
    EXPECT_TRUE(record.values.emplace(value.name, text).second) << value.name;
  }
  EXPECT_LE(bytes, event.max_text);
  // The identifier is mostly found without decoding; both ways must agree.
  const auto id = record.values.find("EventID");
  EXPECT_EQ(record.event_id, id == record.values.end() ? 0 : LeadingNumber(id->second));
  if (decoder.policy == Policy::kComplete) {
    const std::uint64_t own = SystemTimeOf(event.structure, plan);
    EXPECT_EQ(record.time, IsValidFiletime(own) ? own : record.written_time);
  }
  return record;
}

// Decodes chunks that begin at `file_offset` of their file.
inline DecodedLog DecodeChunks(Bytes chunks, bool with_trace = false,
                               std::uint64_t file_offset = 4096, bool checked = false,
                               Policy policy = Policy::kLiteral) {
  DecodedLog log;
  TextSink trace = MakeStringSink(log.trace);
  EvtxDecoder decoder;
  decoder.policy = policy;
  if (with_trace) decoder.trace = &trace;
  decoder.checks_records = checked;
  EvtxHandlers handlers;
  handlers.record = [&log](EvtxDecoder& with, DecodedEvent& event) {
    log.records.push_back(Collect(with, event));
  };
  WalkSlots(decoder, chunks, file_offset, handlers);
  Flush(trace);
  log.account = decoder.account;
  return log;
}

inline DecodedLog Decode(const support::EvtxBuilder& log, bool with_trace = false,
                         Policy policy = Policy::kLiteral) {
  return DecodeChunks(log.BuildChunks(), with_trace, 4096, false, policy);
}

inline DecodedLog DecodeComplete(const support::EvtxBuilder& log, bool with_trace = false) {
  return Decode(log, with_trace, Policy::kComplete);
}

// The values of a log read twice, asked of a decoder that keeps plans and of one that does not.
inline std::vector<Values> KeptAndFresh(const support::EvtxBuilder& log,
                                        Policy policy = Policy::kLiteral) {
  std::vector<Values> all;
  const support::ByteString chunks = log.BuildChunks();
  for (const bool keeps : {true, false}) {
    EvtxDecoder decoder;
    decoder.keeps = keeps;
    decoder.policy = policy;
    EvtxHandlers handlers;
    handlers.record = [&all](EvtxDecoder& with, DecodedEvent& event) {
      all.push_back(Collect(with, event).values);
    };
    for (int i = 0; i < 2; ++i) WalkSlots(decoder, chunks, 4096, handlers);
  }
  return all;
}

// The values of a log's only record.
inline Values ValuesOf(support::Fragment body, Policy policy = Policy::kLiteral) {
  support::EvtxBuilder log;
  log.AddRecord({.body = std::move(body)});
  const DecodedLog decoded = Decode(log, false, policy);
  EXPECT_EQ(decoded.records.size(), 1U);
  return decoded.records.empty() ? Values{} : decoded.records[0].values;
}

inline Values ValuesOf(std::vector<support::Node> template_body,
                       std::vector<support::Value> values = {}, Policy policy = Policy::kLiteral) {
  return ValuesOf(
      support::InstanceFragment(support::MakeTemplate("template", std::move(template_body)),
                                std::move(values)),
      policy);
}

inline Values CompleteValuesOf(std::vector<support::Node> template_body,
                               std::vector<support::Value> values = {}) {
  return ValuesOf(std::move(template_body), std::move(values), Policy::kComplete);
}

inline std::uint64_t Count(const WalkAccount& account, RecordFault fault) {
  return account.faults[static_cast<std::size_t>(fault)];
}

// How many faults of all kinds were noted.
inline std::uint64_t CountFaults(const WalkAccount& account) {
  std::uint64_t sum = 0;
  for (const std::uint64_t count : account.faults) sum += count;
  return sum;
}

inline bool Contains(const std::string& text, const std::string& part) {
  return text.find(part) != std::string::npos;
}

// Empties a chunk's template table, so that only records make definitions known.
inline void ClearTemplateTable(support::ByteString& chunks, std::size_t chunk = 0) {
  support::SetBytes(chunks, chunk * support::kEvtxChunkSize + 384, support::ByteString(128));
}

}  // namespace tarnlex
