#include "logs/sip_hash.h"

#include <algorithm>
#include <bit>
#include <cstring>
#include <random>

namespace tarnlex {
namespace {

using State = std::array<std::uint64_t, 4>;

constexpr int kRounds = 2;
constexpr int kLastRounds = 4;

void Round(State& v) {
  v[0] += v[1];
  v[1] = std::rotl(v[1], 13) ^ v[0];
  v[0] = std::rotl(v[0], 32);
  v[2] += v[3];
  v[3] = std::rotl(v[3], 16) ^ v[2];
  v[0] += v[3];
  v[3] = std::rotl(v[3], 21) ^ v[0];
  v[2] += v[1];
  v[1] = std::rotl(v[1], 17) ^ v[2];
  v[2] = std::rotl(v[2], 32);
}

void Rounds(State& state, int count) {
  for (int i = 0; i < count; ++i) Round(state);
}

void AddWord(State& state, std::uint64_t word) {
  state[3] ^= word;
  Rounds(state, kRounds);
  state[0] ^= word;
}

std::uint64_t Fold(const State& v) { return v[0] ^ v[1] ^ v[2] ^ v[3]; }

// Fills up the word that was begun; returns what is left of the bytes.
Bytes FillRest(SipHash& hash, Bytes bytes) {
  const std::size_t begun = hash.size % sizeof(std::uint64_t);
  if (begun == 0) return bytes;
  const std::size_t taken = std::min(bytes.size(), sizeof(std::uint64_t) - begun);
  std::copy_n(bytes.data(), taken, hash.rest.data() + begun);
  hash.size += taken;
  if (begun + taken == sizeof(std::uint64_t)) {
    AddWord(hash.state, Load<std::uint64_t>(hash.rest.data()));
  }
  return bytes.subspan(taken);
}

}  // namespace

HashKey RandomHashKey() {
  std::random_device random;
  const auto word = [&random] { return std::uint64_t{random()} << 32 | random(); };
  return {word(), word()};
}

SipHash BeginSipHash(HashKey key) {
  // The second word is marked, as the result is to have 128 bits.
  return {{key.low ^ 0x736F6D6570736575, key.high ^ 0x646F72616E646F6D ^ 0xEE,
           key.low ^ 0x6C7967656E657261, key.high ^ 0x7465646279746573},
          {},
          0};
}

void AddBytes(SipHash& hash, Bytes bytes) {
  bytes = FillRest(hash, bytes);
  const std::size_t whole = bytes.size() / sizeof(std::uint64_t) * sizeof(std::uint64_t);
  State state = hash.state;
  for (std::size_t at = 0; at < whole; at += sizeof(std::uint64_t)) {
    AddWord(state, Load<std::uint64_t>(bytes.data() + at));
  }
  hash.state = state;
  std::copy(bytes.begin() + static_cast<std::ptrdiff_t>(whole), bytes.end(), hash.rest.begin());
  hash.size += bytes.size();
}

Hash128 EndSipHash(SipHash hash) {
  const std::size_t begun = hash.size % sizeof(std::uint64_t);
  std::uint64_t last = hash.size << 56;
  for (std::size_t i = 0; i < begun; ++i) last |= std::uint64_t{hash.rest[i]} << 8 * i;
  State& state = hash.state;
  AddWord(state, last);
  state[2] ^= 0xEE;
  Rounds(state, kLastRounds);
  const std::uint64_t low = Fold(state);
  state[1] ^= 0xDD;
  Rounds(state, kLastRounds);
  return {low, Fold(state)};
}

Hash128 HashBytes(HashKey key, Bytes bytes) {
  SipHash hash = BeginSipHash(key);
  AddBytes(hash, bytes);
  return EndSipHash(hash);
}

}  // namespace tarnlex
