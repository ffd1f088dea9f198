// UTF-8 whose author is not trusted: what a text begins with.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

namespace tarnlex {

struct Utf8Character {
  std::uint32_t code = 0;
  std::size_t size = 1;
  bool valid = false;
  bool cut = false;  // the text ends inside of it
};

// The first character of a text that is not empty; of what is none, one byte.
Utf8Character NextUtf8(std::string_view text);

// How many bytes at the beginning of `text` are whole, valid characters.
std::size_t ValidUtf8(std::string_view text);

}  // namespace tarnlex
