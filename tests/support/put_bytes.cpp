#include "tests/support/put_bytes.h"

#include <stdexcept>

namespace tarnlex::support {
namespace {

void PutNumber(ByteString& out, std::uint64_t value, int bytes) {
  for (int i = 0; i < bytes; ++i) out.push_back(static_cast<std::uint8_t>(value >> (8 * i)));
}

void SetNumber(ByteString& bytes, std::size_t offset, std::uint64_t value, int count) {
  ByteString number;
  PutNumber(number, value, count);
  SetBytes(bytes, offset, number);
}

std::uint64_t GetNumber(const ByteString& bytes, std::size_t offset, unsigned count) {
  std::uint64_t value = 0;
  for (unsigned i = 0; i < count; ++i) value |= std::uint64_t{bytes.at(offset + i)} << (8 * i);
  return value;
}

unsigned HexDigit(char c) {
  if (c >= '0' && c <= '9') return static_cast<unsigned>(c - '0');
  if (c >= 'a' && c <= 'f') return static_cast<unsigned>(c - 'a' + 10);
  if (c >= 'A' && c <= 'F') return static_cast<unsigned>(c - 'A' + 10);
  throw std::invalid_argument("not a hexadecimal digit");
}

// Days from 1970-01-01, counting the leap days of the years gone by.
std::int64_t DaysSince1970(int year, int month, int day) {
  static constexpr int kBefore[] = {0, 31, 59, 90, 120, 151, 181, 212, 243, 273, 304, 334};
  const auto leap_days = [](int y) { return y / 4 - y / 100 + y / 400; };
  const bool leap = (year % 4 == 0 && year % 100 != 0) || year % 400 == 0;
  return 365LL * (year - 1970) + leap_days(year - 1) - leap_days(1969) + kBefore[month - 1] +
         (leap && month > 2 ? 1 : 0) + day - 1;
}

std::int64_t SecondsSince1970(int year, int month, int day, int hour, int minute, int second) {
  return ((DaysSince1970(year, month, day) * 24 + hour) * 60 + minute) * 60 + second;
}

std::vector<std::uint64_t> NumbersBetweenDashes(std::string_view text) {
  std::vector<std::uint64_t> numbers;
  std::size_t start = 0;
  while (start <= text.size()) {
    const std::size_t end = std::min(text.find('-', start), text.size());
    numbers.push_back(std::stoull(std::string(text.substr(start, end - start))));
    start = end + 1;
  }
  return numbers;
}

}  // namespace

void PutU8(ByteString& out, std::uint8_t value) { out.push_back(value); }
void PutU16(ByteString& out, std::uint16_t value) { PutNumber(out, value, 2); }
void PutU32(ByteString& out, std::uint32_t value) { PutNumber(out, value, 4); }
void PutU64(ByteString& out, std::uint64_t value) { PutNumber(out, value, 8); }

void PutBytes(ByteString& out, const ByteString& bytes) {
  out.insert(out.end(), bytes.begin(), bytes.end());
}

void PutWide(ByteString& out, std::u16string_view text) {
  for (const char16_t unit : text) PutU16(out, static_cast<std::uint16_t>(unit));
}

void SetBytes(ByteString& bytes, std::size_t offset, const ByteString& value) {
  for (std::size_t i = 0; i < value.size(); ++i) bytes.at(offset + i) = value[i];
}

void SetU16(ByteString& bytes, std::size_t offset, std::uint16_t value) {
  SetNumber(bytes, offset, value, 2);
}

void SetU32(ByteString& bytes, std::size_t offset, std::uint32_t value) {
  SetNumber(bytes, offset, value, 4);
}

void SetU64(ByteString& bytes, std::size_t offset, std::uint64_t value) {
  SetNumber(bytes, offset, value, 8);
}

std::uint32_t GetU32(const ByteString& bytes, std::size_t offset) {
  return static_cast<std::uint32_t>(GetNumber(bytes, offset, 4));
}

std::uint64_t GetU64(const ByteString& bytes, std::size_t offset) {
  return GetNumber(bytes, offset, 8);
}

ByteString Hex(std::string_view digits) {
  std::string packed;
  for (const char c : digits) {
    if (c != ' ' && c != '\n') packed += c;
  }
  if (packed.size() % 2 != 0) throw std::invalid_argument("half a byte");
  ByteString bytes;
  for (std::size_t i = 0; i < packed.size(); i += 2) {
    PutU8(bytes, static_cast<std::uint8_t>(HexDigit(packed[i]) * 16 + HexDigit(packed[i + 1])));
  }
  return bytes;
}

std::string ToHex(const ByteString& bytes) {
  std::string text;
  for (const std::uint8_t byte : bytes) {
    text += "0123456789abcdef"[byte >> 4];
    text += "0123456789abcdef"[byte & 15];
  }
  return text;
}

std::u16string Wide(std::string_view utf8) {
  std::u16string wide;
  for (std::size_t i = 0; i < utf8.size();) {
    const auto byte = [&](std::size_t at) { return static_cast<std::uint8_t>(utf8.at(at)); };
    const unsigned lead = byte(i);
    const std::size_t more = lead < 0x80 ? 0 : lead < 0xE0 ? 1 : lead < 0xF0 ? 2 : 3;
    char32_t code = more == 0 ? lead : lead & (0x3FU >> more);
    for (std::size_t k = 1; k <= more; ++k) code = code * 64 + (byte(i + k) & 0x3FU);
    if (code >= 0x10000) {
      wide += static_cast<char16_t>(0xD800 + ((code - 0x10000) >> 10));
      wide += static_cast<char16_t>(0xDC00 + ((code - 0x10000) & 0x3FF));
    } else {
      wide += static_cast<char16_t>(code);
    }
    i += more + 1;
  }
  return wide;
}

std::uint32_t Crc32(const ByteString& bytes, const std::vector<Piece>& pieces) {
  std::uint32_t crc = 0xFFFFFFFF;
  for (const Piece& piece : pieces) {
    for (std::size_t i = 0; i < piece.size; ++i) {
      crc ^= bytes.at(piece.offset + i);
      for (int bit = 0; bit < 8; ++bit) crc = (crc >> 1) ^ ((crc & 1) != 0 ? 0xEDB88320 : 0);
    }
  }
  return ~crc;
}

Guid ParseGuid(std::string_view text) {
  std::string digits;
  for (const char c : text) {
    if (c != '-') digits += c;
  }
  const ByteString bytes = Hex(digits);
  if (bytes.size() != 16) throw std::invalid_argument("not a GUID");
  // The first three groups are numbers and so stand lowest byte first.
  static constexpr std::size_t kOrder[] = {3, 2, 1, 0, 5, 4, 7, 6, 8, 9, 10, 11, 12, 13, 14, 15};
  Guid guid{};
  for (std::size_t i = 0; i < guid.size(); ++i) guid[i] = bytes[kOrder[i]];
  return guid;
}

Guid GuidFor(std::string_view seed) {
  Guid guid{};
  std::uint64_t state = 0xCBF29CE484222325;
  for (const char c : seed) state = (state ^ static_cast<std::uint8_t>(c)) * 0x100000001B3;
  for (std::uint8_t& byte : guid) {
    state = (state ^ (state >> 29)) * 0x100000001B3;
    byte = static_cast<std::uint8_t>(state >> 40);
  }
  return guid;
}

ByteString SidBytes(std::string_view text) {
  const std::vector<std::uint64_t> numbers = NumbersBetweenDashes(text.substr(2));
  ByteString sid;
  PutU8(sid, static_cast<std::uint8_t>(numbers.at(0)));
  PutU8(sid, static_cast<std::uint8_t>(numbers.size() - 2));
  for (int shift = 40; shift >= 0; shift -= 8) {
    PutU8(sid, static_cast<std::uint8_t>(numbers.at(1) >> shift));
  }
  for (std::size_t i = 2; i < numbers.size(); ++i) {
    PutU32(sid, static_cast<std::uint32_t>(numbers[i]));
  }
  return sid;
}

std::uint32_t UnixTime(int year, int month, int day, int hour, int minute, int second) {
  return static_cast<std::uint32_t>(SecondsSince1970(year, month, day, hour, minute, second));
}

std::uint64_t Filetime(int year, int month, int day, int hour, int minute, int second,
                       std::uint32_t ticks) {
  constexpr std::int64_t kFrom1601 = 11644473600;
  const std::int64_t seconds = SecondsSince1970(year, month, day, hour, minute, second) + kFrom1601;
  return static_cast<std::uint64_t>(seconds) * 10'000'000 + ticks;
}

}  // namespace tarnlex::support
