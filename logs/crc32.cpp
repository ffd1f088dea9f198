#include "logs/crc32.h"

#include <array>
#include <cstddef>

namespace tarnlex {
namespace {

// Eight bytes a step: table n has what a byte does that n bytes follow.
constexpr std::size_t kStep = 8;
using Tables = std::array<std::array<std::uint32_t, 256>, kStep>;

constexpr Tables MakeTables() {
  constexpr std::uint32_t kPolynomial = 0xEDB88320;
  Tables tables{};
  for (std::uint32_t byte = 0; byte < 256; ++byte) {
    std::uint32_t crc = byte;
    for (int bit = 0; bit < 8; ++bit) crc = (crc >> 1) ^ ((crc & 1) != 0 ? kPolynomial : 0);
    tables[0][byte] = crc;
  }
  for (std::size_t table = 1; table < kStep; ++table) {
    for (std::size_t byte = 0; byte < 256; ++byte) {
      const std::uint32_t crc = tables[table - 1][byte];
      tables[table][byte] = (crc >> 8) ^ tables[0][crc & 0xFF];
    }
  }
  return tables;
}

constexpr Tables kTables = MakeTables();

std::uint32_t Stepped(std::uint64_t bytes) {
  std::uint32_t crc = 0;
  for (std::size_t i = 0; i < kStep; ++i) crc ^= kTables[kStep - 1 - i][(bytes >> (8 * i)) & 0xFF];
  return crc;
}

}  // namespace

std::uint32_t Crc32(Bytes bytes, std::uint32_t before) {
  std::uint32_t crc = ~before;
  std::size_t at = 0;
  for (; bytes.size() - at >= kStep; at += kStep) {
    crc = Stepped(Load<std::uint64_t>(bytes.data() + at) ^ crc);
  }
  for (; at < bytes.size(); ++at) crc = (crc >> 8) ^ kTables[0][(crc ^ bytes[at]) & 0xFF];
  return ~crc;
}

}  // namespace tarnlex
