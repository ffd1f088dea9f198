// How grave an event is: the word for it, and its colour on a terminal.
#pragma once

#include <cstdint>
#include <string_view>

namespace tarnlex {

// The word for an EVTX level or an EVT event type.
std::string_view LevelText(bool is_evtx, std::uint32_t level_or_type);

// What colours that word; empty where it is nothing to look at.
std::string_view LevelColor(std::string_view level_text);

// What makes a header stand out, and what ends any colour.
inline constexpr std::string_view kHeaderColor = "\x1b[1m";
inline constexpr std::string_view kNoColor = "\x1b[0m";

}  // namespace tarnlex
