#include "reports/image_window.h"

#include <algorithm>

#include "logs/read_file.h"

namespace tarnlex {
namespace {

constexpr std::uint64_t kPiece = std::uint64_t{4} << 20;
constexpr std::uint64_t kSector = 4096;  // what is given up where a read fails

std::uint64_t EndOf(const ImageWindow& window) { return window.begin + window.bytes.size(); }

// Fills `to`, and passes over what cannot be read.
void ReadWhatCanBe(ImageWindow& window, std::uint64_t offset, std::span<std::uint8_t> to) {
  while (!to.empty()) {
    const std::size_t came = ReadFully(window.file, offset, to);
    offset += came;
    to = to.subspan(came);
    const std::uint64_t lost = std::min<std::uint64_t>(kSector - offset % kSector, to.size());
    std::fill_n(to.data(), lost, std::uint8_t{0});
    window.unread += lost;
    offset += lost;
    to = to.subspan(static_cast<std::size_t>(lost));
  }
}

}  // namespace

void ShowPlace(ImageWindow& window, std::uint64_t at) {
  const std::uint64_t size = window.file.size;
  const std::uint64_t from = at - std::min(at, window.back);
  if (from >= window.begin && at < EndOfPlaces(window)) return;
  const std::uint64_t begin = from / kSector * kSector;
  const std::uint64_t end = std::min(size, begin + window.back + kPiece + window.ahead);
  std::size_t kept = 0;
  if (begin >= window.begin && begin < EndOf(window)) {
    kept = static_cast<std::size_t>(EndOf(window) - begin);
    std::copy_n(window.bytes.end() - static_cast<std::ptrdiff_t>(kept), kept, window.bytes.begin());
  }
  window.begin = begin;
  window.bytes.resize(static_cast<std::size_t>(end - begin));
  ReadWhatCanBe(window, begin + kept, std::span(window.bytes).subspan(kept));
}

std::uint64_t EndOfPlaces(const ImageWindow& window) {
  const std::uint64_t end = EndOf(window);
  return end == window.file.size ? end : end - std::min(end, window.ahead);
}

}  // namespace tarnlex
