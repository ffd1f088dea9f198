// The library of reports: texts in the report language, each with what there is to know of it in
// comments at its head. They lie in reports/library and are built into the program.
#pragma once

#include <span>
#include <string_view>
#include <vector>

#include "reports/command_language.h"

namespace tarnlex {

struct LibraryReport {
  std::string_view name;  // lower case, digits and underscores
  std::string_view text;  // a command file
};

// All reports of the library, in the order in which they are listed.
std::span<const LibraryReport> ReportLibrary();

// The report of that name, in any case; null without one.
const LibraryReport* FindLibraryReport(std::string_view name);

// Its lines, taken apart.
std::vector<TokenList> LinesOf(const LibraryReport& report);

}  // namespace tarnlex
