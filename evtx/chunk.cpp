#include "evtx/chunk.h"

#include <cstring>

#include "evtx/binary_xml.h"
#include "evtx/substitution.h"
#include "logs/text.h"

namespace tarnlex {
namespace {

void LoadNames(EvtxChunk& chunk) {
  for (std::uint32_t bucket = 0; bucket < kNameBuckets; ++bucket) {
    std::uint32_t offset = 0;
    ReadAt(chunk.data, kChunkNameTable + 4 * bucket, offset);
    NameRecord record;
    if (offset == 0 || !ReadNameRecord(chunk.data, offset, record)) continue;
    chunk.names.push_back({chunk.file_offset + offset, bucket, record.next, record.hash,
                           record.count, Utf16ToUtf8(record.units)});
  }
}

void LoadTemplates(EvtxChunk& chunk) {
  for (std::uint32_t bucket = 0; bucket < kTemplateBuckets; ++bucket) {
    std::uint32_t offset = 0;
    ReadAt(chunk.data, kChunkTemplateTable + 4 * bucket, offset);
    DefinitionHead head;
    if (offset == 0 || !ReadDefinitionHead(chunk.data, offset, head)) continue;
    RegisterTemplate(chunk, {chunk.file_offset + offset, chunk.file_offset, offset, bucket,
                             head.next, head.guid, head.size});
  }
}

}  // namespace

bool HasChunkSignature(Bytes bytes, std::uint64_t offset) {
  return Fits(bytes, offset, kEvtxChunkSignature.size()) &&
         std::memcmp(bytes.data() + offset, kEvtxChunkSignature.data(),
                     kEvtxChunkSignature.size()) == 0;
}

void LoadChunk(Bytes data, std::uint64_t file_offset, bool with_names, EvtxChunk& chunk) {
  chunk.data = chunk.whole = data;
  chunk.file_offset = file_offset;
  ++chunk.serial;
  ReadAt(data, kChunkFirstNumber, chunk.first_number);
  ReadAt(data, kChunkLastNumber, chunk.last_number);
  chunk.found_size = 0;
  chunk.templates.clear();
  chunk.names.clear();
  Clear(chunk.trees);
  chunk.new_templates.clear();
  chunk.own_trees.clear();
  chunk.new_kinds.clear();
  chunk.new_kind_bytes = 0;
  chunk.names_of_fragments = {};
  chunk.new_plans.clear();
  chunk.new_plan_room = 0;
  chunk.last_plan = nullptr;
  Clear(chunk.resolved);
  chunk.text_left = kMaxChunkText;
  chunk.made_names_left = kMaxChunkNameText;
  chunk.numbered_left = kMaxChunkNumberedText;
  chunk.prepared_left = kMaxChunkPrepared;
  chunk.measured_left = kMaxChunkMeasured;
  chunk.traced_left = kMaxChunkTraced;
  if (with_names) LoadNames(chunk);
  LoadTemplates(chunk);
}

const TemplateRef& RegisterTemplate(EvtxChunk& chunk, const TemplateRef& reference) {
  TemplateRef& kept = chunk.templates.try_emplace(reference.guid, reference).first->second;
  if (kept.definition_file_offset == kUnknownDefinition) kept = reference;
  return kept;
}

}  // namespace tarnlex
