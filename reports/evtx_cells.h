// What the rows of EVTX records have in common, however their texts are found.
#pragma once

#include <cstdint>
#include <cstring>
#include <string_view>
#include <vector>

#include "evtx/names.h"
#include "output/event_rows.h"

namespace tarnlex {

// The text of a value that an optional substitution leaves out.
inline constexpr std::string_view kUnresolved = "[null]";

inline char* CopyText(std::string_view text, char* at) {
  std::memcpy(at, text.data(), text.size());
  return at + text.size();
}

inline std::string_view ColumnName(const Name& name) {
  return name.text.empty() ? std::string_view("<unnamed>") : name.text;
}

// The columns of values with these names; `order` gets, for each column, the position of its value,
// the first of a name.
const ColumnSet* AddColumnsInOrder(EventRows& rows, const std::vector<std::string_view>& names,
                                   std::vector<std::uint32_t>& order);

// What the text of a "Level" value means to a row.
std::uint32_t LevelOf(std::string_view text);

// `text` as a row keeps it; `last` is what a row of the kind kept last, mostly the same text.
inline std::string_view KeepProvider(EventRows& rows, std::string_view text,
                                     std::string_view& last) {
  if (text != last) last = InternText(rows, text);
  return last;
}

}  // namespace tarnlex
