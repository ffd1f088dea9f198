// What is gathered of a log only when its account is to be complete (-account): checksums, and what
// its records tell together.
#pragma once

#include <cstdint>

#include "evtx/decoder.h"
#include "logs/bytes.h"

namespace tarnlex {

// Computes the checksums of a chunk, header and records, and counts those that do not hold.
void CheckChecksums(Bytes chunk, std::uint64_t file_offset, WalkAccount& account);

// Takes the record framed last up into the survey of its log. Asks for its plan.
void SurveyRecord(EvtxDecoder& decoder, DecodedEvent& event);

}  // namespace tarnlex
