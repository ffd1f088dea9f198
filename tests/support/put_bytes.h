// Little-endian writing for the log builders, written apart from the program's own byte reading so
// that a mistake there cannot hide itself, and the few texts and times that logs are made of.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace tarnlex::support {

using ByteString = std::vector<std::uint8_t>;
using Guid = std::array<std::uint8_t, 16>;

// Appends a number, lowest byte first.
void PutU8(ByteString& out, std::uint8_t value);
void PutU16(ByteString& out, std::uint16_t value);
void PutU32(ByteString& out, std::uint32_t value);
void PutU64(ByteString& out, std::uint64_t value);
void PutBytes(ByteString& out, const ByteString& bytes);
// Appends UTF-16LE units without a terminator.
void PutWide(ByteString& out, std::u16string_view text);

// Replaces bytes that exist already; throws std::out_of_range otherwise.
void SetBytes(ByteString& bytes, std::size_t offset, const ByteString& value);
void SetU16(ByteString& bytes, std::size_t offset, std::uint16_t value);
void SetU32(ByteString& bytes, std::size_t offset, std::uint32_t value);
void SetU64(ByteString& bytes, std::size_t offset, std::uint64_t value);
std::uint32_t GetU32(const ByteString& bytes, std::size_t offset);
std::uint64_t GetU64(const ByteString& bytes, std::size_t offset);

// "2A 2A 00 00" to bytes; blanks and line ends are passed over, anything else throws.
ByteString Hex(std::string_view digits);
// Bytes to "2a2a0000".
std::string ToHex(const ByteString& bytes);

// Valid UTF-8 to UTF-16 units.
std::u16string Wide(std::string_view utf8);

// CRC-32 as the logs store it (polynomial 0xEDB88320), over one or two pieces of `bytes`.
struct Piece {
  std::size_t offset = 0;
  std::size_t size = 0;
};
std::uint32_t Crc32(const ByteString& bytes, const std::vector<Piece>& pieces);

// "54849625-5478-4994-a5ba-3e3b0328c30d" to its stored bytes.
Guid ParseGuid(std::string_view text);
// A GUID made from a text: the same one for the same text.
Guid GuidFor(std::string_view seed);

// "S-1-5-21-1-2-3-500" to the stored form.
ByteString SidBytes(std::string_view text);

// An instant in UTC as seconds since 1970 and as a FILETIME with a fraction in 100 ns ticks.
std::uint32_t UnixTime(int year, int month, int day, int hour = 0, int minute = 0, int second = 0);
std::uint64_t Filetime(int year, int month, int day, int hour = 0, int minute = 0, int second = 0,
                       std::uint32_t ticks = 0);

}  // namespace tarnlex::support
