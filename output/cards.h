// Records for reading: each on lines of its own, "name: value".
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

#include "logs/log_info.h"
#include "logs/run_options.h"
#include "logs/text_sink.h"
#include "output/event_rows.h"

namespace tarnlex {

// Writes every row as a card: a line for each column that the row has, or for those that were asked
// for, and an empty line. Rows are ordered by time. Values are not cleaned.
void WriteCards(TextSink& out, const EventRows& rows, const LogInfo& log,
                const RunOptions& options);

// A value from column `indent` on, in lines of `width` characters at most (0: of any length): cut
// behind a blank where there is one, and where the value has line breaks, those at its end aside.
std::string WrapValue(std::string_view value, std::size_t indent, std::size_t width);

}  // namespace tarnlex
