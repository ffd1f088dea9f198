#include "output/level.h"

namespace tarnlex {
namespace {

constexpr std::string_view kRed = "\x1b[31m";
constexpr std::string_view kYellow = "\x1b[33m";

}  // namespace

std::string_view LevelText(bool is_evtx, std::uint32_t level_or_type) {
  constexpr std::string_view kEvtxLevels[] = {"info", "crit", "error", "warn", "info"};
  if (is_evtx) return level_or_type < 5 ? kEvtxLevels[level_or_type] : "unk";
  switch (level_or_type) {
    case 0:
    case 4: return "info";
    case 1: return "error";
    case 2: return "warn";
    case 8: return "a-pass";
    case 10: return "a-fail";
    default: return "unk";
  }
}

std::string_view LevelColor(std::string_view level_text) {
  if (level_text == "crit" || level_text == "error") return kRed;
  if (level_text == "warn" || level_text == "a-fail") return kYellow;
  return {};
}

}  // namespace tarnlex
