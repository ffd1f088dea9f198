// UTF-8 to the wide text of the Windows interfaces and back; used by the Windows sources only.
#pragma once

#include <string>
#include <string_view>

namespace tarnlex {

// What is not UTF-8 becomes U+FFFD.
std::wstring Wide(std::string_view text);
std::string Narrow(std::wstring_view text);

}  // namespace tarnlex
