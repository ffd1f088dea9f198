#include "evt/fields.h"

#include "logs/parse_number.h"
#include "logs/sid.h"
#include "logs/text.h"

namespace tarnlex {
namespace {

void AppendUtf8(Bytes utf16, std::string& text) {
  const std::size_t units = utf16.size() / 2;
  const std::size_t before = text.size();
  text.resize(before + units * kMaxUtf8PerUnit);
  const char* end = WriteUtf8(utf16.data(), units, text.data() + before);
  text.resize(static_cast<std::size_t>(end - text.data()));
}

void AppendDecimal(std::uint64_t value, std::string& text) {
  char digits[20];
  text.append(digits, WriteDecimal(value, digits));
}

}  // namespace

bool FieldText(EvtRecord& record, std::string_view name, std::string& text) {
  text.clear();
  if (name == "user_sid") {
    text = SidText(record.sid);
  } else if (name == "success_type") {
    AppendDecimal(record.event_type, text);
  } else if (name == "source_name") {
    CutTexts(record);
    AppendUtf8(record.source_name, text);
  } else if (name == "string") {
    CutTexts(record);
    for (const Bytes string : record.strings) AppendUtf8(string, text);
  } else if (IsDecimal(name)) {
    CutTexts(record);
    const std::uint64_t number = LeadingNumber(name);
    if (number >= 1 && number <= record.strings.size()) {
      AppendUtf8(record.strings[static_cast<std::size_t>(number - 1)], text);
    }
  }
  return !text.empty();
}

}  // namespace tarnlex
