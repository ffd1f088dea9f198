#include "evtx/sound_value.h"

#include <algorithm>

#include "logs/sound_text.h"

namespace tarnlex {
namespace {

constexpr std::uint8_t kArrayFlag = 0x80;

Bytes WithoutZerosBehind(Bytes units) {
  std::size_t size = units.size() / 2 * 2;
  while (size >= 2 && Load<std::uint16_t>(units.data() + size - 2) == 0) size -= 2;
  return units.first(size);
}

// Texts with a zero behind each.
bool AreSoundTexts(Bytes units) {
  std::size_t begin = 0;
  for (std::size_t at = 0; at + 2 <= units.size(); at += 2) {
    if (Load<std::uint16_t>(units.data() + at) != 0) continue;
    if (!IsSoundText(units.subspan(begin, at - begin))) return false;
    begin = at + 2;
  }
  return IsSoundText(units.subspan(begin));
}

bool IsSoundAnsi(Bytes text) {
  while (!text.empty() && text.back() == 0) text = text.first(text.size() - 1);
  return std::none_of(text.begin(), text.end(), [](std::uint8_t c) {
    return c == 0x7F || (c < ' ' && c != '\t' && c != '\n' && c != '\r');
  });
}

// The size of every value of a type; 0 for types of any size, or of several.
std::uint32_t SizeOfType(std::uint8_t type) {
  switch (type) {
    case kEvtVarTypeSByte:
    case kEvtVarTypeByte: return 1;
    case kEvtVarTypeInt16:
    case kEvtVarTypeUInt16: return 2;
    case kEvtVarTypeInt32:
    case kEvtVarTypeUInt32:
    case kEvtVarTypeSingle:
    case kEvtVarTypeHexInt32: return 4;
    case kEvtVarTypeInt64:
    case kEvtVarTypeUInt64:
    case kEvtVarTypeDouble:
    case kEvtVarTypeHexInt64:
    case kEvtVarTypeFileTime: return 8;
    case kEvtVarTypeGuid:
    case kEvtVarTypeSysTime: return 16;
    default: return 0;
  }
}

bool IsSoundArray(Bytes bytes, std::uint8_t type) {
  if (type == kEvtVarTypeString) return AreSoundTexts(bytes);
  const std::uint32_t size = SizeOfType(type);
  return size != 0 ? bytes.size() % size == 0 : type <= kEvtVarTypeHexInt64;
}

}  // namespace

bool IsSoundValue(Bytes chunk, const SubstitutionValue& value) {
  const Bytes bytes = Clip(chunk, value.offset, value.size);
  if ((value.type & kArrayFlag) != 0) {
    return IsSoundArray(bytes, static_cast<std::uint8_t>(value.type & ~kArrayFlag));
  }
  switch (value.type) {
    case kEvtVarTypeNull: return true;
    case kEvtVarTypeString: return bytes.size() % 2 == 0 && IsSoundText(WithoutZerosBehind(bytes));
    case kEvtVarTypeAnsiString: return IsSoundAnsi(bytes);
    case kEvtVarTypeBoolean: return bytes.size() == 4 || bytes.size() == 1;
    case kEvtVarTypeSizeT: return bytes.size() == 4 || bytes.size() == 8;
    case kEvtVarTypeSid: return IsSoundSid(bytes);
    case kEvtVarTypeBinary:
    case kEvtVarTypeEvtHandle:
    case kEvtVarTypeEvtBXml:
    case kEvtVarTypeEvtXml: return true;
    default: return SizeOfType(value.type) != 0 && bytes.size() == SizeOfType(value.type);
  }
}

}  // namespace tarnlex
