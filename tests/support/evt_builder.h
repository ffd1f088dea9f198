// Writes EVT logs a few lines at a time:
//
//   EvtBuilder log;
//   log.AddEntry({.event_id = 528, .source = "Security", .strings = {"alice", "WKS-ALPHA"}});
//   ByteString file = log.Build();
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "tests/support/put_bytes.h"

namespace tarnlex::support {

inline constexpr std::uint32_t kEvtHeaderSize = 48;
inline constexpr std::uint32_t kEvtFixedSize = 56;

// Bits of the header's flags.
inline constexpr std::uint32_t kEvtDirty = 1;
inline constexpr std::uint32_t kEvtWrapped = 2;
inline constexpr std::uint32_t kEvtLogFull = 4;
inline constexpr std::uint32_t kEvtArchive = 8;

// One event record. The optional fields replace what the record would rightly say; they change
// nothing else.
struct EvtEntry {
  std::uint32_t number = 0;  // 0: one more than the record before it
  // Seconds since 1970; by default a minute further with each record, and written when generated.
  std::optional<std::uint32_t> time = {};
  std::optional<std::uint32_t> time_written = {};
  std::uint32_t event_id = 0;
  std::uint16_t type = 4;
  std::uint16_t category = 0;
  std::uint16_t reserved = 0;
  std::uint32_t closing_number = 0;
  std::string source = "Security";
  std::string computer = "WKS-ALPHA";
  std::string sid = "";  // "S-1-5-..."; empty: none
  std::vector<std::string> strings = {};
  ByteString data = {};

  std::optional<std::uint32_t> length = {};
  std::optional<std::uint32_t> length_copy = {};
  std::optional<std::uint32_t> signature = {};
  std::optional<std::uint16_t> string_count = {};
  std::optional<std::uint32_t> string_offset = {};
  std::optional<std::uint32_t> sid_length = {};
  std::optional<std::uint32_t> sid_offset = {};
  std::optional<std::uint32_t> data_length = {};
  std::optional<std::uint32_t> data_offset = {};
};

// The record's bytes; `number` and `time` (unset: 0) are taken as they stand.
ByteString EvtEntryBytes(const EvtEntry& entry);

struct EvtLayout {
  std::uint32_t start = kEvtHeaderSize;  // where the oldest record begins
  // The file's size in bytes; what passes it continues behind the header, as in a log that came
  // round. 0: as long as needed.
  std::uint32_t file_size = 0;
  std::uint32_t flags = 0;
  bool end_record = true;
  std::uint8_t slack = 0;  // the byte that fills what no record covers
};

class EvtBuilder {
 public:
  EvtBuilder& AddEntry(EvtEntry entry);
  // Bytes between records, as they are.
  EvtBuilder& AddRaw(ByteString bytes);
  // Throws std::length_error when the records do not fit into the layout's file size.
  ByteString Build(const EvtLayout& layout = {}) const;

 private:
  std::vector<ByteString> pieces_;
  std::uint32_t next_number_ = 1;
  std::uint32_t oldest_number_ = 0;
};

// Zeroes the rest of a record of which only `kept` bytes reached the disk.
void TearRecord(ByteString& file, std::size_t offset, std::size_t kept);

}  // namespace tarnlex::support
