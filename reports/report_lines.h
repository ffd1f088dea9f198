// From the tables of the built-in reports to lines for one log.
#pragma once

#include <string>
#include <vector>

#include "reports/builtin_reports.h"
#include "reports/command_language.h"

namespace tarnlex {

// Whether a report is for a log, by the log's kind, its file name and its format; where kinds are
// taken from what logs hold (`complete`), names do not count.
bool ReportFits(const BuiltinReport& report, const LogInfo& log, bool complete);

// One line of a report as it would stand in a command file: "!cmd, -enum_evtxlog, -id, ...".
std::string CommandLineOf(const BuiltinQuery& query);

// The report's lines for logs of one format, taken apart.
std::vector<TokenList> ReportLines(const BuiltinReport& report, LogFormat format);

// The queries of a report for an image, where records of all logs lie beside each other: those of
// EVTX logs are held to the channels of the logs that the report is for. EVT records do not name
// their log; the source Security writes to the security log alone.
QueryList QueriesByKind(const BuiltinReport& report, const QueryList& queries);

}  // namespace tarnlex
