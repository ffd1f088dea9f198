// Text and names as XML 1.0 can hold them.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "event/value.h"
#include "logs/bytes.h"
#include "logs/plain_ascii.h"

namespace tarnlex {

// Bytes that a character may take in XML for each one that it has ("&quot;").
inline constexpr std::size_t kXmlPerByte = 6;

// Escapes what stands from `begin` to `end`, UTF-8, in place, so that it may stand in a text and
// between quotes, survives the parser as it is, and has no line end; returns the new end. There is
// room for kXmlPerByte times the text. Characters that XML cannot hold become U+FFFD and are added
// to `replaced`.
char* EscapeXml(char* begin, char* end, std::uint64_t& replaced);

// The long way of WriteXmlText.
char* WriteUncommonXmlText(Bytes bytes, const SubstitutionValue& text, std::uint64_t& replaced,
                           char* out);

// Writes a value of type kEvtVarTypeString, escaped as it is converted; returns the end. There is
// room for kXmlPerByte times its bytes and two blocks of sixteen more.
inline char* WriteXmlText(Bytes bytes, const SubstitutionValue& text, std::uint64_t& replaced,
                          char* out) {
  char* const plain_end = WriteXmlAscii(bytes, text.offset, text.size / 2, out);
  return plain_end ? plain_end : WriteUncommonXmlText(bytes, text, replaced, out);
}

// A text, escaped, in a string of its own.
std::string XmlText(std::string_view text, std::uint64_t& replaced);

// A text with U+FFFD in place of characters that XML cannot hold, and nothing escaped.
std::string XmlPlainText(std::string_view text, std::uint64_t& replaced);

// A name for what is called `name`: itself if it is one without a colon, else with "_" in place of
// every character that cannot stand in one, and in front of one that cannot begin one. Letters are
// those that parsers agree on.
std::string XmlName(std::string_view name);

}  // namespace tarnlex
