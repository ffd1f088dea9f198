#include "evtx/names.h"

#include <algorithm>

#include "evtx/binary_xml.h"
#include "evtx/evtx_format.h"
#include "logs/text.h"

namespace tarnlex {

Name* InternName(NameTable& table, std::string_view text) {
  if (const auto found = table.by_text.find(text); found != table.by_text.end()) {
    return found->second;
  }
  table.texts.emplace_back(text);
  table.text_bytes += text.size();
  Name& name = table.names.emplace_back();
  name.text = table.texts.back();
  name.id = static_cast<std::uint32_t>(table.names.size() - 1);
  table.by_text.emplace(name.text, &name);
  return &name;
}

Name* InternComputedName(NameTable& table, std::string_view text) {
  if (text.size() > table.chunk_text_left) return InternName(table, "");
  table.chunk_text_left -= text.size();
  return InternName(table, text);
}

Name* InternTokenName(NameTable& table, const Token& token) {
  if (!token.has_name) return InternName(table, "");
  if (token.name_offset != 0) {
    const auto found = table.by_offset.find(token.name_offset);
    if (found != table.by_offset.end()) return found->second;
  }
  const std::size_t units = token.name.units.size() / 2;
  // Before the conversion, so that refused names cost nothing.
  if (units > table.chunk_text_left) return InternName(table, "");
  const std::string text = Utf16ToUtf8(token.name.units);
  Name* name = InternComputedName(table, text);
  // Zero units at the end give no text but are read all the same.
  const std::uint64_t dropped = units - std::min(text.size(), units);
  table.chunk_text_left -= std::min(table.chunk_text_left, dropped);
  if (token.name_offset != 0) table.by_offset.emplace(token.name_offset, name);
  return name;
}

void BeginChunkNames(NameTable& table) {
  table.by_offset.clear();
  table.chunk_text_left = kMaxChunkNameText;
  if (table.text_bytes > kMaxNameTableText) ClearNames(table);
}

Name* UnnamedDataName(NameTable& table, std::size_t number) {
  while (table.unnamed_data.size() < number) {
    const std::size_t next = table.unnamed_data.size() + 1;
    std::string text = "Data";
    if (next > 1) text += (next < 10 ? "_0" : "_") + std::to_string(next);
    table.unnamed_data.push_back(InternName(table, text));
  }
  return table.unnamed_data[number - 1];
}

void ClearNames(NameTable& table) {
  table.by_text.clear();
  table.by_offset.clear();
  table.unnamed_data.clear();
  table.names.clear();
  table.texts.clear();
  table.text_bytes = 0;
  ++table.generation;
}

bool ReadNameRecord(Bytes chunk, std::uint32_t offset, NameRecord& record) {
  ByteReader in{chunk, offset};
  record.next = Read<std::uint32_t>(in);
  record.hash = Read<std::uint16_t>(in);
  record.count = Read<std::uint16_t>(in);
  if (in.failed || !Fits(chunk, in.pos, std::uint64_t{2} * record.count)) return false;
  record.units = chunk.subspan(in.pos, std::size_t{2} * record.count);
  Skip(in, record.units.size());
  record.terminated = Read<std::uint16_t>(in) == 0 && !in.failed;
  return true;
}

}  // namespace tarnlex
