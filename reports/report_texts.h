// What is said of reports, those of the library and the six that have options of their own: their
// names, a line for each, and their lines as a command file.
#pragma once

#include <span>
#include <string>
#include <string_view>

#include "logs/known_options.h"

namespace tarnlex {

// The names of all reports, in the order in which they are listed.
std::span<const KnownOption> ReportNames();

// The name that may have been meant by one that is none; empty where none is near.
std::string_view NearestReport(std::string_view name);

// The text of a report, in any case of its name, as it could stand in a command file; empty where
// there is no such report.
std::string ReportText(std::string_view name);

// A line for each report: its name, the question that it answers, its events, and the systems that
// have them.
std::string ReportList();

}  // namespace tarnlex
