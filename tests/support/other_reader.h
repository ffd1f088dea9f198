// Other programs that read event logs; tests of the builders ask them what they see.
#pragma once

#include <optional>
#include <string>

#include "tests/support/put_bytes.h"

namespace tarnlex::support {

// What `command` followed by the path of a temporary file holding `log` prints to standard output,
// without the program's version and the empty line after it. Nothing when the program is not
// installed.
std::optional<std::string> ReadWithOther(const std::string& command, const ByteString& log);

}  // namespace tarnlex::support
