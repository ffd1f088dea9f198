// Records as lines of the bodyfile format: fields between "|", times as Unix seconds.
#pragma once

#include <cstdint>

#include "logs/run_options.h"
#include "logs/text_sink.h"
#include "output/event_rows.h"

namespace tarnlex {

// One line per row, ordered; the header line first while `header_pending`, which it clears. With
// options.all_params the name field carries the row's values; with options.complete it is whole,
// with "%" as "%25", and the inode is the record identifier.
void WriteBodyfile(TextSink& out, const EventRows& rows, const RunOptions& options,
                   bool& header_pending);

// The bodyfile's own rule: 0 for a FILETIME of 0 or with its top bit set; an instant before 1970
// wraps to an enormous number.
std::uint64_t BodyfileSeconds(std::uint64_t filetime);

}  // namespace tarnlex
