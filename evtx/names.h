// Names of named values, kept once each so that they compare by address and carry what the decoder
// wants to know of them.
#pragma once

#include <cstdint>
#include <deque>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "logs/bytes.h"

namespace tarnlex {

struct Token;  // evtx/binary_xml.h

struct Name {
  std::string_view text;
  std::uint32_t id = 0;  // position in the table
  // Where the record being decoded holds the value of this name; meaningful while `record_serial`
  // equals that record's serial.
  std::uint64_t record_serial = 0;
  std::uint32_t value_index = 0;
};

// All names seen so far. Names live until the table is cleared.
struct NameTable {
  std::deque<Name> names;
  std::deque<std::string> texts;
  std::unordered_map<std::string_view, Name*> by_text;
  std::size_t text_bytes = 0;
  // Of the present chunk: names by the offset of their record, and how much more text they may
  // have.
  std::unordered_map<std::uint32_t, Name*> by_offset;
  std::uint64_t chunk_text_left = 0;
  std::uint64_t generation = 0;     // counts the clearings, so that others know theirs are stale
  std::vector<Name*> unnamed_data;  // "Data", "Data_02", "Data_03", ...
};

Name* InternName(NameTable& table, std::string_view text);

// The name that a token gives by offset or in line; the empty name when it could not be read or
// when the names of this chunk have more text than 64 KiB can hold.
Name* InternTokenName(NameTable& table, const Token& token);

// A name made of values; the empty name under the same bound.
Name* InternComputedName(NameTable& table, std::string_view text);

// Forgets where the names of the last chunk stood; and all names when they have become many.
void BeginChunkNames(NameTable& table);

// The name of the `number`th unnamed "Data" element of a record, counted from 1.
Name* UnnamedDataName(NameTable& table, std::size_t number);

void ClearNames(NameTable& table);

// A name record inside a chunk.
struct NameRecord {
  std::uint32_t next = 0;  // the next name of the same hash bucket
  std::uint16_t hash = 0;
  std::uint16_t count = 0;  // UTF-16 units
  Bytes units;
  bool terminated = false;  // a zero unit follows, as it should
};

// Reads the name record at `offset`; false when it does not lie inside the chunk.
bool ReadNameRecord(Bytes chunk, std::uint32_t offset, NameRecord& record);

}  // namespace tarnlex
