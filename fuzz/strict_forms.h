// Judges of what the streams write: strict parsers that share nothing with the program.
#pragma once

#include <string_view>

namespace tarnlex {

// Whether every line is one JSON value as RFC 8259 has it, in UTF-8 and without a member that comes
// twice.
bool IsJsonLines(std::string_view text);

// Whether the text is one well-formed XML document of elements, texts and processing instructions,
// in UTF-8, without an attribute that comes twice and without a prefix that is not declared.
bool IsXmlDocument(std::string_view text);

}  // namespace tarnlex
