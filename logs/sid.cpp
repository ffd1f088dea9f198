#include "logs/sid.h"

#include "logs/text.h"

namespace tarnlex {

char* WriteSidText(Bytes sid, char* out) {
  constexpr std::size_t kHead = 8;  // revision, count, 48-bit big-endian authority
  if (sid.size() < kHead) return out;
  const std::size_t count = sid[1];
  if (sid.size() - kHead < 4 * count) return out;
  constexpr std::uint64_t kAuthority = (std::uint64_t{1} << 48) - 1;
  const std::uint64_t authority = __builtin_bswap64(Load<std::uint64_t>(sid.data())) & kAuthority;
  *out++ = 'S';
  *out++ = '-';
  out = WriteDecimal(std::uint64_t{sid[0]}, out);
  *out++ = '-';
  if (authority >> 32 == 0) {
    out = WriteDecimal(authority, out);
  } else {
    *out++ = '0';
    *out++ = 'x';
    out = WriteHex(authority, 12, out);
  }
  for (std::size_t i = 0; i < count; ++i) {
    *out++ = '-';
    out = WriteDecimal(std::uint64_t{Load<std::uint32_t>(sid.data() + kHead + 4 * i)}, out);
  }
  return out;
}

std::string SidText(Bytes sid) {
  std::string text(MaxSidText(sid.size()), '\0');
  text.resize(static_cast<std::size_t>(WriteSidText(sid, text.data()) - text.data()));
  return text;
}

}  // namespace tarnlex
