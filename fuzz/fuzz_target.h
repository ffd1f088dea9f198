// What every fuzz target has at hand: its entry point, and the input as a file or as text.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "logs/bytes.h"
#include "logs/platform.h"

// The one function that a target defines; the fuzzer and the replay program call it. Returns 0.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

namespace tarnlex {

// A file whose content is `bytes`, which must outlive it.
inline InputFile FileOf(Bytes bytes) {
  InputFile file;
  file.size = bytes.size();
  file.read = [bytes](std::uint64_t offset, std::span<std::uint8_t> to) {
    const Bytes part = Clip(bytes, offset, to.size());
    std::copy(part.begin(), part.end(), to.begin());
    return part.size();
  };
  return file;
}

inline std::string_view TextOfInput(const std::uint8_t* data, std::size_t size) {
  return {reinterpret_cast<const char*>(data), size};
}

}  // namespace tarnlex
