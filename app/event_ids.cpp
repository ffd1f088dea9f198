#include "app/event_ids.h"

#include <algorithm>

#include "logs/parse_number.h"
#include "logs/text.h"

namespace tarnlex {
namespace {

// "4720 - 4767" is one piece, whatever cuts the list.
std::string WithoutBlanksAtDashes(std::string_view list) {
  std::string joined;
  for (std::size_t i = 0; i < list.size(); ++i) {
    if (list[i] == '-') joined.resize(Trim(joined).empty() ? 0 : joined.find_last_not_of(' ') + 1);
    if (list[i] == ' ' && !joined.empty() && joined.back() == '-') continue;
    joined += list[i];
  }
  return joined;
}

// The strongest separator in the list cuts it; blanks only when there is no other.
std::vector<std::string> CutList(std::string_view text) {
  const std::string list = ReplaceChar(WithoutBlanksAtDashes(text), ';', ',');
  const char separators[] = {',', '|'};
  const auto chosen =
      std::find_if(std::begin(separators), std::end(separators),
                   [&list](char separator) { return list.find(separator) != std::string::npos; });
  std::vector<std::string> pieces;
  SplitList(list, chosen == std::end(separators) ? ' ' : *chosen, true, pieces);
  return pieces;
}

bool ReadRange(std::string_view piece, IdRange& range) {
  const std::size_t dash = piece.find('-');
  if (dash == std::string_view::npos || dash == 0) return false;
  const std::string_view first = piece.substr(0, dash);
  const std::string_view last = piece.substr(dash + 1);
  if (!IsWholeNumber(first) || !IsWholeNumber(last)) return false;
  if (!ParseNumber(first, range.first) || !ParseNumber(last, range.last)) return false;
  if (range.last < range.first) std::swap(range.first, range.last);
  return true;
}

}  // namespace

EventIdList ReadEventIds(std::string_view list) {
  EventIdList read;
  for (const std::string& piece : CutList(list)) {
    IdRange range;
    std::uint64_t id = 0;
    if (ReadRange(piece, range)) {
      read.ranges.push_back(range);
    } else if (ParseNumber(piece, id)) {
      read.ids.push_back(id);
      if (!IsWholeNumber(piece)) read.cut.push_back(piece);
    } else {
      read.unreadable.push_back(piece);
    }
  }
  return read;
}

}  // namespace tarnlex
