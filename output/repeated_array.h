// Elements that stand for lists: where an element's text is an array, Windows shows an element for
// each of its values.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

#include "event/complete_value.h"
#include "event/document.h"
#include "event/structure.h"

namespace tarnlex {

// The value of an array that an element stands for.
using OneOfArray = std::optional<SubstitutionValue>;

// Bytes that the arrays of one event may repeat at most. An array that would repeat more is one
// text instead.
inline constexpr std::size_t kMostRepeated = std::size_t{1} << 20;

// What the element at `at` is written for: each value of the one array of several values that its
// own texts hold, or once, for none, where they hold no such array or more than one. What repeating
// it takes is taken from `repeatable`; where that is too little, the element stands once.
std::vector<OneOfArray> RepeatedFor(const EventStructure& event, const Document& document,
                                    std::uint32_t at, std::size_t& repeatable);

// The values of an array in one text, as `write` gives each of them; `count` of them.
template <typename Write>
char* WriteJoined(const EventStructure& event, const SubstitutionValue& array, std::size_t& count,
                  char* out, Write write) {
  ArrayElements elements = ElementsOf(event.bytes, array);
  SubstitutionValue element;
  for (count = 0; NextElement(elements, element); ++count) {
    if (count > 0) {
      *out++ = ',';
      *out++ = ' ';
    }
    out = write(event.bytes, element, out);
  }
  return out;
}

}  // namespace tarnlex
