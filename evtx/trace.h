// The lines that -diags writes about what the decoder reads.
#pragma once

#include <cstdint>
#include <string_view>

#include "evtx/binary_xml.h"
#include "logs/text_sink.h"

namespace tarnlex {

// One line for one token: its tag, with "+" where its flag for more is set, and its fields.
void TraceToken(TextSink& trace, const Token& token);

// The lines of the tokens of the stream from `begin` to `end` of the chunk, as long as `left`
// lasts: a line takes one from it, a long text more. That nothing is left is said once.
void TraceStream(TextSink& trace, Bytes chunk, std::uint32_t begin, std::uint32_t end,
                 StreamLayout layout, std::uint32_t& left);

// A line of plain text.
void TraceLine(TextSink& trace, std::string_view text);

}  // namespace tarnlex
