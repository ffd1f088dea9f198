// Records as lines of the log2timeline CSV format.
#pragma once

#include "logs/log_info.h"
#include "logs/run_options.h"
#include "logs/text_sink.h"
#include "output/event_rows.h"

namespace tarnlex {

// One line per row, ordered; the header line first while `header_pending`, which it clears. A row
// without a valid time has no place on a timeline and gets no line.
void WriteLog2Timeline(TextSink& out, const EventRows& rows, const LogInfo& log,
                       const RunOptions& options, bool& header_pending);

}  // namespace tarnlex
