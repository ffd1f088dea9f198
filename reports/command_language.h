// The language of reports: one line, one query. Built-in reports and command files are both written
// in it. A line that makes no query for the log at hand is dropped without a word.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "logs/log_info.h"
#include "logs/run_options.h"
#include "reports/query_spec.h"

namespace tarnlex {

// What stands behind "!cmd,", cut at the commas and trimmed: options and their values.
using TokenList = std::vector<std::string>;

// Takes one line apart. False when it is a comment ("//" at its head) or holds no "!cmd,".
bool SplitCommandLine(std::string_view line, TokenList& tokens);

// The value of -label, "NAME=HEADER"; false when one of the two is not there.
bool SplitLabel(std::string_view text, std::string& name, std::string& header);

// Makes the queries that `lines` ask for of `log` and puts them into `queries`, which is emptied
// first unless `append` is set. The order is that of the log paths without regard to
// case, then of the lines. True when `queries` is not empty afterwards.
bool BuildQueries(const std::vector<TokenList>& lines, const LogInfo& log,
                  const RunOptions& options, bool append, QueryList& queries);

// The queries of a plain dump of `log`: one per event identifier of the run, each taking
// everything.
QueryList PlainQueries(const LogInfo& log, const RunOptions& options);

}  // namespace tarnlex
