// Writes EVTX logs a few lines at a time:
//
//   EvtxBuilder log;
//   log.AddEvent({.event_id = 4624, .data = {{"TargetUserName", "alice"}}});
//   log.AddChunk();
//   log.AddRecord({.body = ElementsFragment({Element("Event", {}, {Text("x")})})});
//   ByteString file = log.Build();
//
// Everything is well formed, checksums included, unless a test asks for something else.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "tests/support/binary_xml_builder.h"
#include "tests/support/breakers.h"
#include "tests/support/put_bytes.h"

namespace tarnlex::support {

Fragment InstanceFragment(Template definition, std::vector<Value> values, bool header = true);
Fragment ElementsFragment(std::vector<Node> nodes, bool header = true);

// One event record. Fields left alone are filled in: the next record identifier, a time, the true
// size in front and behind.
struct Record {
  std::uint64_t id = 0;    // 0: one more than the record before it
  std::uint64_t time = 0;  // FILETIME; 0: the log's default, one second further with each record
  Fragment body = {};
  std::optional<ByteString> raw_body = {};  // in place of `body`, padding included
  std::uint32_t signature = 0x00002A2A;
  std::optional<std::uint32_t> stated_size = {};
  std::optional<std::uint32_t> size_copy = {};
};

// One field of the event data; an empty name makes an unnamed "Data" element.
struct DataField {
  DataField(std::string_view field_name, Value field_value);
  DataField(std::string_view field_name, std::string_view text);
  std::string name;
  Value value;
};

// An event as the security log holds them: a System template whose last slot is the event data, a
// nested template instance.
struct Event {
  std::string provider = "Microsoft-Windows-Security-Auditing";
  std::string provider_guid = "54849625-5478-4994-a5ba-3e3b0328c30d";  // empty: a null slot
  std::uint32_t event_id = 0;
  std::optional<std::uint16_t> qualifiers = {};
  std::uint8_t version = 0;
  std::uint8_t level = 0;
  std::uint16_t task = 0;
  std::uint8_t opcode = 0;
  std::uint64_t keywords = 0x8020000000000000;
  std::uint64_t time = 0;  // as Record::time; also TimeCreated
  std::uint64_t id = 0;    // as Record::id; also EventRecordID
  std::uint32_t process_id = 456;
  std::uint32_t thread_id = 460;
  std::string channel = "Security";
  std::string computer = "WKS-ALPHA";  // literal text of the template, as in real logs
  std::string user_sid = "";           // empty: a null slot
  std::vector<DataField> data = {};
  std::optional<Value> event_data = {};  // in place of the value made of `data`
  bool nested_header = true;             // the nested value begins with a fragment header
};

// The event's template instance; `id` and `time` are taken as they stand.
Fragment EventFragment(const Event& event);

struct ChunkOptions {
  std::optional<std::uint64_t> first_number = {};  // in place of the numbers of its records
  std::optional<std::uint64_t> last_number = {};
};

class EvtxBuilder {
 public:
  // Starts a new chunk; the first record starts one by itself. A chunk without records is marked as
  // empty the way the logging service does it.
  EvtxBuilder& AddChunk(ChunkOptions options = {});
  // A slot of the file that is no chunk of ours: cut or zero-filled to 64 KiB.
  EvtxBuilder& AddSlot(ByteString bytes = {});
  // Appends a record to the last chunk, or to a new one when it does not fit any more. Throws
  // std::length_error for a record larger than a chunk.
  EvtxBuilder& AddRecord(const Record& record);
  EvtxBuilder& AddEvent(Event event);
  // Places a definition at the end of the last chunk, outside all records; returns its offset. It
  // is listed in the chunk's template table unless told otherwise.
  std::uint32_t AddTemplate(const Template& definition, bool listed = true);

  // Where the next record of the last chunk will begin; 512 in an empty one.
  std::uint32_t NextRecordOffset() const;
  // The chunk under construction, for bytes of one's own.
  ChunkImage& chunk();

  // The whole file, or the chunks alone.
  ByteString Build() const;
  ByteString BuildChunks() const;

 private:
  struct Slot {
    bool is_chunk = true;
    ChunkImage image;
    ByteString tail;  // definitions at the chunk's very end, the last one placed in front
    ChunkOptions options;
    std::uint64_t first_id = 0;
    std::uint64_t last_id = 0;
    std::uint64_t records = 0;
    std::uint32_t last_record = 0;
  };

  void Append(Slot& slot, const Record& record);
  Slot& LastChunk();
  ByteString Finish(const Slot& slot, std::uint64_t first_number) const;

  std::vector<Slot> slots_;
  std::uint64_t next_id_ = 1;
};

}  // namespace tarnlex::support
