#include "output/run_status.h"

#include <algorithm>
#include <vector>

#include "logs/status_line.h"
#include "logs/utf8.h"
#include "output/visible_text.h"

namespace tarnlex {
namespace {

constexpr std::size_t kNameColumns = 24;  // worth leaving other things out for
constexpr std::string_view kCut = "..";

struct Range {
  std::uint32_t first;
  std::uint32_t last;
};
// What takes two columns on the terminals that we know; a blank more or less does no harm.
constexpr Range kWide[] = {{0x1100, 0x115F}, {0x2E80, 0xA4CF},   {0xAC00, 0xD7A3},
                           {0xF900, 0xFAFF}, {0xFE30, 0xFE6F},   {0xFF00, 0xFF60},
                           {0xFFE0, 0xFFE6}, {0x1F300, 0x1FAFF}, {0x20000, 0x3FFFD}};

// Columns of the character at `at`, which is moved behind it.
std::size_t TakeCharacter(std::string_view text, std::size_t& at) {
  const Utf8Character character = NextUtf8(text.substr(at));
  at += character.size;
  const auto holds = [code = character.code](const Range& range) {
    return range.first <= code && code <= range.last;
  };
  return std::any_of(std::begin(kWide), std::end(kWide), holds) ? 2 : 1;
}

// The end of a name, which tells it from others, never its middle left out.
std::string EndOf(std::string_view name, std::size_t columns) {
  std::size_t width = TextColumns(name);
  if (width <= columns) return std::string(name);
  if (columns <= kCut.size()) return {};
  std::size_t at = 0;
  while (width + kCut.size() > columns) width -= TakeCharacter(name, at);
  return std::string(kCut).append(name.substr(at));
}

std::string TwoDigits(std::uint64_t number) {
  return (number < 10 ? "0" : "") + std::to_string(number);
}

std::string DurationText(std::uint64_t seconds) {
  const std::uint64_t minutes = seconds / 60;
  if (minutes < 60) return std::to_string(minutes) + ":" + TwoDigits(seconds % 60);
  return std::to_string(minutes / 60) + ":" + TwoDigits(minutes % 60) + ":" +
         TwoDigits(seconds % 60);
}

// What is known beside the place, the most important first.
std::vector<std::string> Details(const RunStatus& status) {
  std::vector<std::string> details;
  const std::string_view of = status.logs > 0 ? "%" : "% of it";
  if (status.part) details.push_back(std::to_string(*status.part).append(of));
  if (status.left) details.push_back(DurationText(*status.left) + " left");
  if (status.megabytes_per_second > 0) {
    details.push_back(std::to_string(status.megabytes_per_second) + " MB/s");
  }
  return details;
}

std::string Join(std::string text, const std::vector<std::string>& details) {
  for (const std::string& detail : details) text.append(", ").append(detail);
  return text;
}

// The place and as much beside it as `fits`.
template <typename Fits>
std::string PlaceAndDetails(const RunStatus& status, Fits fits) {
  std::vector<std::string> details = Details(status);
  std::string text = Join(PlaceText(status), details);
  while (!details.empty() && !fits(text)) {
    details.pop_back();
    text = Join(PlaceText(status), details);
  }
  return text;
}

std::string VisibleName(const std::string& name) {
  VisibleText state;
  std::string shown = MakeVisible(state, name);
  return shown + std::string(state.pending.size(), '?');
}

// The first characters that fit.
std::string BeginOf(std::string_view text, std::size_t columns) {
  std::size_t at = 0;
  for (std::size_t width = 0; at < text.size();) {
    std::size_t next = at;
    width += TakeCharacter(text, next);
    if (width > columns) break;
    at = next;
  }
  return std::string(text.substr(0, at));
}

}  // namespace

std::size_t TextColumns(std::string_view text) {
  std::size_t columns = 0;
  for (std::size_t at = 0; at < text.size();) columns += TakeCharacter(text, at);
  return columns;
}

std::string PlaceText(const RunStatus& status) {
  std::string text;
  if (status.reports > 1) {
    text =
        "report " + std::to_string(status.report) + " of " + std::to_string(status.reports) + ", ";
  }
  text += "log " + std::to_string(status.log);
  if (status.logs > 0) text += " of " + std::to_string(status.logs);
  return text;
}

std::string StatusText(const RunStatus& status, std::size_t columns) {
  if (status.log == 0) return BeginOf("looking for event logs", columns);
  const std::string name = VisibleName(status.name);
  const std::size_t wanted = std::min(TextColumns(name), kNameColumns) + 2;
  const std::string text = PlaceAndDetails(
      status, [&](const std::string& shown) { return shown.size() + wanted <= columns; });
  if (text.size() + 2 >= columns) return BeginOf(text, columns);
  return text + ": " + EndOf(name, columns - text.size() - 2);
}

std::string PipedStatusText(const RunStatus& status, std::size_t columns) {
  std::string text = AnalyzingText(VisibleName(status.name));
  const std::size_t width = TextColumns(text);
  if (width < kStatusColumns) text.append(kStatusColumns - width, ' ');
  const std::size_t front = TextColumns(text);
  text += PlaceAndDetails(
      status, [&](const std::string& shown) { return front + shown.size() <= columns; });
  return BeginOf(text, columns);
}

}  // namespace tarnlex
