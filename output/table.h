// Records as text: the padded table and its delimited forms (-csv, -csvgen, -multiline and kin),
// and which form a run has.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "logs/log_info.h"
#include "logs/run_options.h"
#include "logs/text_sink.h"
#include "output/display_name.h"
#include "output/event_rows.h"

namespace tarnlex {

// How rows may be kept joined for WriteLogResults with these options: only for tables without
// padding whose separator no cell can hold. Elsewhere the result has no separator.
JoinedCells JoinedForm(const RunOptions& options);

// Writes all rows of one log in the run's form, ordered; nothing for an empty collection. `log`
// names the log in the last column and says which container the rows are from. A timeline gets its
// header line while `header_pending`, which is cleared then.
void WriteLogResults(TextSink& out, const EventRows& rows, const LogInfo& log,
                     const RunOptions& options, bool& header_pending);

// Tables of the rows, ordered: one per event identifier and provider, an empty line behind each, or
// with `grouped` off one for all.
void WriteTables(TextSink& out, const EventRows& rows, const LogInfo& log,
                 const RunOptions& options, bool grouped);

}  // namespace tarnlex
