#include "output/repeated_cells.h"

namespace tarnlex {

void ExpectRepeated(RepeatedCells& cells) {
  constexpr std::size_t kPlaces = 1024;
  cells.seen.resize(kPlaces);
  cells.places.resize(kPlaces);
}

void Remember(RepeatedCell& place, Bytes value, std::uint8_t type) {
  place.value.assign(value.begin(), value.end());
  place.type = type;
  place.text = {};
}

void ForgetRepeated(RepeatedCells& cells) {
  for (RepeatedCell& place : cells.places) place.text = {};
  cells.unplaced.clear();
}

}  // namespace tarnlex
