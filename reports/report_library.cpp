#include "reports/report_library.h"

#include <algorithm>

#include "logs/text.h"
#include "reports/command_file.h"

namespace tarnlex {

const LibraryReport* FindLibraryReport(std::string_view name) {
  const std::span<const LibraryReport> library = ReportLibrary();
  const auto found =
      std::find_if(library.begin(), library.end(),
                   [name](const LibraryReport& report) { return EqualsNoCase(report.name, name); });
  return found == library.end() ? nullptr : &*found;
}

std::vector<TokenList> LinesOf(const LibraryReport& report) {
  std::vector<TokenList> lines;
  ParseCommandText(report.text, lines);
  return lines;
}

}  // namespace tarnlex
