#include "evtx/decoded_event.h"

#include <cstring>

namespace tarnlex {
namespace {

SubstitutionValue ToValue(const ValuePart& part) { return {part.offset, part.size, part.type}; }

std::size_t MaxPartText(Bytes chunk, const ValuePart& part) {
  return part.literal ? part.offset : MaxValueText(chunk, ToValue(part));
}

std::size_t CountedPartText(Bytes chunk, const ValuePart& part) {
  return part.literal ? part.offset : MaxProportionalText(chunk, ToValue(part));
}

// Adds up what `size_of` says of each part of a value.
template <typename SizeOf>
std::size_t SumOfParts(const DecodedEvent& event, const NamedValue& value, SizeOf size_of) {
  if (value.unresolved) return 0;
  std::size_t size = size_of(event.chunk, value.part);
  for (std::uint32_t i = 0; i < value.more_count; ++i) {
    size += size_of(event.chunk, event.parts[value.more_begin + i]);
  }
  return size;
}

char* WritePart(Bytes chunk, const ValuePart& part, char* out) {
  if (!part.literal) return WriteValueText(chunk, ToValue(part), out);
  std::memcpy(out, part.literal, part.offset);
  return out + part.offset;
}

}  // namespace

std::size_t MaxTextSize(const DecodedEvent& event, const NamedValue& value) {
  return SumOfParts(event, value, MaxPartText);
}

std::size_t CountedTextSize(const DecodedEvent& event, const NamedValue& value) {
  return SumOfParts(event, value, CountedPartText);
}

char* WriteText(const DecodedEvent& event, const NamedValue& value, char* out) {
  if (value.unresolved) return out;
  out = WritePart(event.chunk, value.part, out);
  if (value.more_count == 0) return out;
  for (std::uint32_t i = 0; i < value.more_count; ++i) {
    out = WritePart(event.chunk, event.parts[value.more_begin + i], out);
  }
  return out;
}

std::string_view TextOf(const DecodedEvent& event, const NamedValue& value, std::string& scratch) {
  if (value.unresolved) return {};
  if (value.part.literal && value.more_count == 0) return {value.part.literal, value.part.offset};
  const std::size_t room = MaxTextSize(event, value);
  if (scratch.size() < room) scratch.resize(room);
  const char* end = WriteText(event, value, scratch.data());
  return {scratch.data(), static_cast<std::size_t>(end - scratch.data())};
}

const NamedValue* FindValue(const DecodedEvent& event, const Name* name) {
  return name->record_serial == event.serial ? &event.values[name->value_index] : nullptr;
}

}  // namespace tarnlex
