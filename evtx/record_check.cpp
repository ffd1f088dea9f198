#include "evtx/record_check.h"

#include <algorithm>
#include <string>

#include "evtx/record.h"
#include "logs/text.h"

namespace tarnlex {
namespace {

constexpr std::string_view kNoCharacter = "\xEF\xBF\xBD";  // U+FFFD

bool IsNameCharacter(char c) {
  const auto byte = static_cast<unsigned char>(c);
  return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '_' ||
         c == ':' || c == '.' || c == '-' || byte >= 0x80;
}

bool IsNumber(std::string_view text) {
  return !text.empty() &&
         std::all_of(text.begin(), text.end(), [](char c) { return c >= '0' && c <= '9'; });
}

// A slot that holds nothing reads as "0" in a row, and is no text here.
bool IsNull(const NamedValue& value) {
  return !value.part.literal && value.part.type == kEvtVarTypeNull && value.more_count == 0;
}

// Empty for a value that is missing.
std::string_view TextOfName(EvtxDecoder& decoder, const DecodedEvent& event, std::string_view name,
                            std::string& scratch) {
  const NamedValue* value = FindValue(event, InternName(decoder.names, name));
  return value && !IsNull(*value) ? TextOf(event, *value, scratch) : std::string_view();
}

}  // namespace

bool IsXmlName(std::string_view text) {
  if (text.empty() || (text[0] >= '0' && text[0] <= '9') || text[0] == '.' || text[0] == '-') {
    return false;
  }
  return std::all_of(text.begin(), text.end(), IsNameCharacter) &&
         text.find(kNoCharacter) == std::string_view::npos;
}

bool IsPrintable(std::string_view text) {
  const auto is_control = [](char c) { return static_cast<unsigned char>(c) < ' ' || c == 0x7F; };
  return std::none_of(text.begin(), text.end(), is_control) &&
         text.find(kNoCharacter) == std::string_view::npos;
}

void CheckRecord(EvtxDecoder& decoder, DecodedEvent& event) {
  DecodeValues(decoder, event);
  std::string scratch;
  const std::string_view own_id = TextOfName(decoder, event, "EventRecordID", scratch);
  if (!own_id.empty() && own_id != std::to_string(event.record_id)) {
    NoteFault(decoder, RecordFault::kOtherIdentifier);
  }
  if (!IsNumber(TextOfName(decoder, event, "EventID", scratch))) {
    NoteFault(decoder, RecordFault::kNoEventId);
  }
  const std::string_view provider = TextOfName(decoder, event, "Provider Name", scratch);
  if (provider.empty() || !IsPrintable(provider)) NoteFault(decoder, RecordFault::kNoProvider);
}

}  // namespace tarnlex
