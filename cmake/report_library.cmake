# Puts the texts of the report library into the program, as they stand in reports/library. A text
# that changes is taken anew by the next build.
set(library_texts "")
foreach(name IN LISTS TARNLEX_REPORTS)
  set(file ${CMAKE_SOURCE_DIR}/reports/library/${name}.txt)
  set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${file})
  file(READ ${file} text)
  string(APPEND library_texts "    {\"${name}\", R\"report(${text})report\"},\n")
endforeach()
file(CONFIGURE OUTPUT ${CMAKE_BINARY_DIR}/report_library/library_texts.cpp @ONLY
     CONTENT [[
#include "reports/report_library.h"

namespace tarnlex {
namespace {

constexpr LibraryReport kLibrary[] = {
@library_texts@};

}  // namespace

std::span<const LibraryReport> ReportLibrary() { return kLibrary; }

}  // namespace tarnlex
]])
target_sources(tarnlex_core PRIVATE ${CMAKE_BINARY_DIR}/report_library/library_texts.cpp)
