// What tells an event from all others wherever it is stored: a copy of its record may stand in
// another chunk, with the definition of its template and its names at other places, or nowhere but
// there.
#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <optional>
#include <vector>

#include "evtx/decoder.h"
#include "logs/sip_hash.h"

namespace tarnlex {

// Which value of a stream is the identifier that the event itself states, if any.
struct StatedId {
  bool as_text = false;  // stands in the stream
  std::optional<std::uint16_t> slot;
};

// A template by what its definition says; nothing when that cannot be read.
struct KnownDefinition {
  std::optional<Hash128> hash;
  StatedId id;
};

// What is remembered from record to record of a log.
struct IdentityRoom {
  HashKey key;
  std::uint64_t chunk_serial = 0;  // of the chunk that the rest is about
  std::size_t chunk_size = 0;      // of its bytes that records were read by last
  std::map<std::uint32_t, KnownDefinition> definitions;  // by their offset
  std::optional<Hash128> chunk;                          // of all of its bytes
  std::uint64_t bytes_left = 0;       // that its records may come to; honest ones stay far below
  std::vector<std::uint8_t> written;  // what the event at hand says
  SlotList slots;
};

// The same for two records of one event, and for no others: which template they are of, all values
// with their types, and, of one that does not state its identifier itself, identifier and time of
// the record. Whatever policy reads the log, all of its values count. A record that cannot be read
// to its end is the same as another one only where it stands in the same place of the same chunk.
// Of what was recovered without being proved the bytes of the values count.
Hash128 IdentityOf(IdentityRoom& room, const EvtxDecoder& decoder, const DecodedEvent& event);

}  // namespace tarnlex
