#include "output/utf8_output.h"

#include <string>
#include <utility>

#include "logs/utf8.h"

namespace tarnlex {
namespace {

constexpr std::string_view kReplacement = "\xEF\xBF\xBD";

// `piece` as UTF-8; the beginning of a character whose rest is still to come goes to `pending`.
std::string Repaired(std::string_view piece, std::string& pending) {
  std::string out;
  while (!piece.empty()) {
    const std::size_t valid = ValidUtf8(piece);
    out.append(piece.substr(0, valid));
    piece.remove_prefix(valid);
    if (piece.empty()) break;
    if (NextUtf8(piece).cut) {
      pending = piece;
      break;
    }
    out.append(kReplacement);
    piece.remove_prefix(1);
  }
  return out;
}

std::string AllReplaced(std::string& pending) {
  std::string out;
  for (std::size_t i = 0; i < pending.size(); ++i) out.append(kReplacement);
  pending.clear();
  return out;
}

}  // namespace

std::function<bool(std::string_view)> KeepUtf8(std::function<bool(std::string_view)> write) {
  return [write = std::move(write), pending = std::string()](std::string_view piece) mutable {
    if (piece.empty()) {
      const std::string last = AllReplaced(pending);
      const bool written = last.empty() || write(last);
      return write(piece) && written;
    }
    if (pending.empty() && ValidUtf8(piece) == piece.size()) return write(piece);
    const std::string joined = std::exchange(pending, {}).append(piece);
    const std::string repaired = Repaired(joined, pending);
    return repaired.empty() || write(repaired);
  };
}

}  // namespace tarnlex
