// Whatever bytes come in, a reader gets UTF-8: paths, arguments and old logs need not be any.
#pragma once

#include <functional>
#include <string_view>

namespace tarnlex {

// A sink's target in front of `write`: every byte that belongs to no character becomes U+FFFD. A
// character may come in two pieces; an empty piece, which ends a file, ends one that is cut too.
std::function<bool(std::string_view)> KeepUtf8(std::function<bool(std::string_view)> write);

}  // namespace tarnlex
