// What is known by where it stands in a chunk. Asked for with every record and emptied with every
// chunk, which a table that stays where it is does at less cost than one of nodes.
#pragma once

#include <cstddef>
#include <cstdint>
#include <utility>
#include <vector>

namespace tarnlex {

template <typename T>
struct OffsetTable {
  struct Entry {
    std::uint32_t offset = 0;
    bool used = false;
    T value = {};
  };
  std::vector<Entry> entries = std::vector<Entry>(kFirstSize);  // as many as a power of two
  std::size_t used = 0;

  static constexpr std::size_t kFirstSize = 64;
};

// Where the offset stands, or is to be put.
template <typename T>
typename OffsetTable<T>::Entry& PlaceIn(std::vector<typename OffsetTable<T>::Entry>& entries,
                                        std::uint32_t offset) {
  constexpr std::uint32_t kSpread = 0x9E3779B1;  // neighbours come to lie apart
  const std::size_t last = entries.size() - 1;
  std::size_t at = (offset * kSpread >> 16) & last;
  while (entries[at].used && entries[at].offset != offset) at = (at + 1) & last;
  return entries[at];
}

// What stands under the offset; null for nothing.
template <typename T>
const T* Find(OffsetTable<T>& table, std::uint32_t offset) {
  const auto& entry = PlaceIn<T>(table.entries, offset);
  return entry.used ? &entry.value : nullptr;
}

// What is there already stays.
template <typename T>
void Add(OffsetTable<T>& table, std::uint32_t offset, T value) {
  if (2 * (table.used + 1) > table.entries.size()) {
    std::vector<typename OffsetTable<T>::Entry> larger(2 * table.entries.size());
    for (const auto& entry : table.entries) {
      if (entry.used) PlaceIn<T>(larger, entry.offset) = entry;
    }
    table.entries = std::move(larger);
  }
  auto& entry = PlaceIn<T>(table.entries, offset);
  if (entry.used) return;
  entry = {offset, true, value};
  ++table.used;
}

template <typename T>
void Clear(OffsetTable<T>& table) {
  table.entries.assign(OffsetTable<T>::kFirstSize, {});
  table.used = 0;
}

}  // namespace tarnlex
