// One line on the console that overwrites itself while a long run goes on.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace tarnlex {

// What every message is padded to.
inline constexpr std::size_t kStatusColumns = 60;

// What to write to standard error to show `message`: at most 255 characters of it, without line
// breaks, padded to kStatusColumns, between enough backspaces to begin and end at the line's start.
std::string StatusLine(std::string_view message);

// "analyzing: " and the first 45 characters of `path` without its "%" characters.
std::string AnalyzingText(std::string_view path);

}  // namespace tarnlex
