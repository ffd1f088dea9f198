#include "output/joined_pieces.h"

#include "logs/date_time.h"
#include "logs/hex_text.h"

namespace tarnlex {

char* WriteHexCell(std::uint64_t number, char separator, char* out) {
  *out++ = '0';
  *out++ = 'x';
  out = WriteHex16(number, out);
  *out = separator;
  return out + 1;
}

char* WriteInstantCell(std::uint64_t filetime, char separator, char* out) {
  out = WriteFiletimeFull(filetime, out);
  *out = separator;
  return out + 1;
}

}  // namespace tarnlex
