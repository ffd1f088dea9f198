// What a command file asks for that will not be done, in lines for whoever wrote it.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace tarnlex {

// Remarks on the file's text, each with its line; `name` is what the file is called.
std::vector<std::string> RemarksOnCommands(std::string_view text, std::string_view name);

}  // namespace tarnlex
