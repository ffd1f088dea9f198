// A look at the first record of a chunk, for judging a log before it is walked.
#pragma once

#include <cstdint>
#include <string>

#include "logs/bytes.h"

namespace tarnlex {

// The channel that the first record names. `bytes` begins with the chunk; false when there is no
// chunk, or when the record has no such element.
bool FirstRecordChannel(Bytes bytes, std::string& channel);

// The same of the first record in `slots` that names one, whatever is damaged before it. `slots`
// lie at `file_offset` of their file.
bool FirstNamedChannel(Bytes slots, std::uint64_t file_offset, std::string& channel);

}  // namespace tarnlex
