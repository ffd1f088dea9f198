// Standard input of a console that is a text.
#pragma once

#include <algorithm>
#include <functional>
#include <span>
#include <string>
#include <utility>

namespace tarnlex::support {

// Gives the text piece by piece, then nothing, as the console of a run reads its input.
inline std::function<std::size_t(std::span<char>)> InputOf(std::string text) {
  return [rest = std::move(text)](std::span<char> to) mutable {
    const std::size_t size = std::min(to.size(), rest.size());
    std::copy_n(rest.begin(), size, to.begin());
    rest.erase(0, size);
    return size;
  };
}

}  // namespace tarnlex::support
