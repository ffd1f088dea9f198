#include "logs/find_special.h"

#include <gtest/gtest.h>

#include <string>

namespace tarnlex {
namespace {

// Where the first of the special bytes stands; the text's size without one.
std::size_t PlaceOf(const std::string& text) {
  const char* const found = FindSpecial<'"', '\xE2'>(text.data(), text.data() + text.size());
  return static_cast<std::size_t>(found - text.data());
}

TEST(FindSpecial, FindsTheFirstWhereverItStandsInTextsOfEveryLength) {
  for (std::size_t size = 0; size <= 50; ++size) {
    ASSERT_EQ(PlaceOf(std::string(size, 'a')), size);
    for (std::size_t at = 0; at < size; ++at) {
      std::string text(size, 'a');
      text[at] = '"';
      text.back() = '"';
      ASSERT_EQ(PlaceOf(text), at) << size;
    }
  }
}

TEST(FindSpecial, TakesControlsAndTheBytesAskedForAndNoOthers) {
  for (int byte = 0; byte <= 0xFF; ++byte) {
    const bool is_special = byte < 0x20 || byte == '"' || byte == 0xE2;
    std::string text(40, 'a');
    for (const std::size_t at : {std::size_t{3}, std::size_t{37}}) {
      text[at] = static_cast<char>(byte);
      ASSERT_EQ(PlaceOf(text), is_special ? at : text.size()) << byte;
      text[at] = 'a';
    }
  }
}

}  // namespace
}  // namespace tarnlex
