// Numbers as examiners type them: event identifiers on the command line and in query lines.
#pragma once

#include <cstdint>
#include <string_view>

namespace tarnlex {

// Reads "4608", "0x1200" or "0o11000": after the first "x" hexadecimal, else after the first "o"
// octal, else decimal. Case and surrounding white space do not matter, and what follows the digits
// is ignored. False for text without digits in that place or for a number beyond 64 bits.
bool ParseNumber(std::string_view text, std::uint64_t& number);

// Whether nothing but digits stands in such a text, so that nothing of it is ignored.
bool IsWholeNumber(std::string_view number);

// Whether the text is decimal digits and nothing else; false for an empty text.
bool IsDecimal(std::string_view text);

}  // namespace tarnlex
