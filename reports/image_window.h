// The part of a raw image that is in memory while the image is searched.
#pragma once

#include <cstdint>
#include <vector>

#include "event/carving.h"
#include "logs/platform.h"

namespace tarnlex {

struct ImageWindow {
  const InputFile& file;
  std::uint64_t back = 0;   // bytes that are to be there before a place...
  std::uint64_t ahead = 0;  // ...and behind it
  std::uint64_t begin = 0;
  std::vector<std::uint8_t> bytes = {};
  std::uint64_t unread = 0;  // bytes that could not be read, and count as zeros
};

// Makes what lies around `at` be there, as far as the image has it, and more behind it, so that few
// bytes are moved. Nothing of it is read twice.
void ShowPlace(ImageWindow& window, std::uint64_t at);

inline ImagePart PartOf(const ImageWindow& window) { return {window.bytes, window.begin}; }

// Up to where places have all behind them that is to be there.
std::uint64_t EndOfPlaces(const ImageWindow& window);

}  // namespace tarnlex
