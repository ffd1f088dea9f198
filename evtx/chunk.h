// The state that a chunk gives its records: where its names and templates are, and what its records
// have to share. All of it is cleared for every chunk; nothing is ever resolved across two of them.
#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "evtx/compile.h"
#include "evtx/evtx_format.h"
#include "evtx/offset_table.h"
#include "evtx/template_store.h"
#include "logs/bytes.h"
#include "logs/text_sink.h"

namespace tarnlex {

// Stands for the place of a definition that only a record without values has named.
inline constexpr std::uint64_t kUnknownDefinition = 0xFFFFFFFF;

// A template definition as it was registered.
struct TemplateRef {
  std::uint64_t definition_file_offset = 0;  // or kUnknownDefinition
  std::uint64_t chunk_file_offset = 0;
  std::uint32_t chunk_offset = 0;  // of the definition
  std::uint32_t origin_index = 0;  // bucket, or record number plus kOriginRecord or kOriginNested
  std::uint32_t next = 0;
  Guid guid{};
  std::uint32_t data_size = 0;
};

// The head of a bucket of the chunk's name table.
struct ChunkName {
  std::uint64_t file_offset = 0;
  std::uint32_t bucket = 0;
  std::uint32_t next = 0;
  std::uint16_t hash = 0;
  std::uint16_t count = 0;
  std::string name;
};

struct EvtxChunk {
  Bytes data;   // 65,536 bytes, the header included; fewer of a chunk or record that is cut
  Bytes whole;  // the same, whatever the record at hand may be read by
  std::uint64_t file_offset = 0;
  std::uint64_t serial = 0;  // of those that this has stood for, counted from 1
  std::uint64_t first_number = 0;
  std::uint64_t last_number = 0;
  std::uint32_t found_size = 0;   // of the record at hand, where it does not state it; else 0
  ByGuid<TemplateRef> templates;  // the first definition of a GUID stays
  std::vector<ChunkName> names;   // only filled for a trace; decoding follows offsets
  // Trees by the chunk offset of their definition; what the chunk compiled itself lies below.
  OffsetTable<const Tree*> trees;
  std::vector<StoredTemplate> new_templates;     // that can be kept for the chunks to come
  std::vector<std::unique_ptr<Tree>> own_trees;  // that cannot
  KindTable new_kinds;
  std::size_t new_kind_bytes = 0;  // of their keys
  ChunkNames names_of_fragments;
  PlanTable new_plans;
  std::size_t new_plan_room = 0;  // of these
  PlanKey last_key;               // neighbouring records are mostly alike
  const Plan* last_plan = nullptr;
  // What the map holds under the GUID of the definition at an offset, for offsets asked for before.
  OffsetTable<const TemplateRef*> resolved;
  std::uint64_t text_left = kMaxChunkText;
  std::uint64_t made_names_left = kMaxChunkNameText;    // bytes of names made of values
  std::uint64_t numbered_left = kMaxChunkNumberedText;  // and of those made by a number
  std::uint32_t prepared_left = kMaxChunkPrepared;
  std::uint64_t measured_left = kMaxChunkMeasured;
  std::uint32_t traced_left = kMaxChunkTraced;
};

// Whether a chunk begins here.
bool HasChunkSignature(Bytes bytes, std::uint64_t offset);

// Makes `chunk` stand for the bytes `data`, which must outlive its use: clears everything
// and registers the heads of the template table's buckets (and, for a trace, of the name table's).
void LoadChunk(Bytes data, std::uint64_t file_offset, bool with_names, EvtxChunk& chunk);

// Registers a definition under its GUID; one that is there already stays, unless its place is not
// known. Returns what is there then.
const TemplateRef& RegisterTemplate(EvtxChunk& chunk, const TemplateRef& reference);

}  // namespace tarnlex
