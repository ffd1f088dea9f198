// Long values that come again and again: paths, accounts, identifiers, lists of privileges. Their
// bytes are remembered with where a row has the text that was made of them, so that the next row
// points there instead of making it anew.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string_view>
#include <vector>

#include "logs/bytes.h"

namespace tarnlex {

struct RepeatedCell {
  std::vector<std::uint8_t> value;
  std::uint8_t type = 0;
  std::string_view text;  // in a row; of no address: none that rows may point to
};

// A text of the row that is being made.
struct UnplacedCell {
  RepeatedCell* place = nullptr;
  std::size_t offset = 0;
  std::size_t size = 0;
};

// A value is remembered when it comes for the second time: most of those that never do cost a look
// at a small table.
struct RepeatedCells {
  std::vector<std::uint64_t> seen;  // hashes of values, by themselves; empty: nothing is remembered
  std::vector<RepeatedCell> places;  // as many, by the same hashes
  std::vector<UnplacedCell> unplaced;
};

// Whether a value with so many characters is worth it: shorter ones take no more room than what
// points to them, and longer ones hardly come twice.
inline constexpr std::size_t kLeastRepeated = 16;
inline constexpr std::size_t kMostRepeated = 1023;
inline bool MayRepeat(const RepeatedCells& cells, std::size_t size) {
  return size >= kLeastRepeated && size <= kMostRepeated && !cells.seen.empty();
}

// Begins to remember values.
void ExpectRepeated(RepeatedCells& cells);

// Where a value that may repeat has its place, whatever is there now; null for one that is new.
inline RepeatedCell* PlaceOf(RepeatedCells& cells, Bytes value) {
  // Paths begin alike, and accounts end alike.
  std::uint64_t words[4];
  std::memcpy(&words[0], value.data(), 8);
  std::memcpy(&words[1], value.data() + value.size() / 2 - 8, 8);
  std::memcpy(&words[2], value.data() + value.size() / 2, 8);
  std::memcpy(&words[3], value.data() + value.size() - 8, 8);
  constexpr std::uint64_t kMix = 0x9E3779B97F4A7C15U;
  std::uint64_t hash = value.size();
  for (const std::uint64_t word : words) hash = (hash ^ word) * kMix;
  const std::size_t at = (hash >> 32) % cells.seen.size();
  if (cells.seen[at] == hash) return &cells.places[at];
  cells.seen[at] = hash;
  return nullptr;
}

inline bool HoldsCell(const RepeatedCell& place, Bytes value, std::uint8_t type) {
  return place.text.data() && place.type == type && place.value.size() == value.size() &&
         SameBytes(place.value.data(), value.data(), value.size());
}

// Gives the place to a value, of which the row that is being made gets a text.
void Remember(RepeatedCell& place, Bytes value, std::uint8_t type);

// What of the row that is being made lies behind `begin` has moved on by so many bytes.
inline void MoveUnplaced(RepeatedCells& cells, std::size_t begin, std::size_t bytes) {
  for (UnplacedCell& cell : cells.unplaced) {
    if (cell.offset > begin) cell.offset += bytes;
  }
}

// The row lies at `row` now and stays there.
inline void PlaceRepeated(RepeatedCells& cells, const char* row) {
  for (const UnplacedCell& cell : cells.unplaced) cell.place->text = {row + cell.offset, cell.size};
  cells.unplaced.clear();
}

// Forgets where texts are; afterwards rows may go.
void ForgetRepeated(RepeatedCells& cells);

}  // namespace tarnlex
