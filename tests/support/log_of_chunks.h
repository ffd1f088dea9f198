// Logs made of the chunks of others. A chunk is self-contained, so that any order of any chunks is
// a sound log.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "tests/support/put_bytes.h"

namespace tarnlex::support {

// The whole file; nothing of one that cannot be read.
ByteString ReadAll(const std::string& path);
bool BeginsWith(const ByteString& bytes, std::size_t at, std::string_view magic);

// The slots of an EVTX file that carry a chunk's signature, in their order; none of another file.
std::vector<ByteString> ChunksOf(const ByteString& log);
// Whether the chunk is not marked as empty and begins with a record.
bool HoldsRecords(const ByteString& chunk);

// Writes the file header, told of its new length, and the chunks over and over until there are
// `megabytes` MiB of them, or one chunk. False when there are no chunks or the file cannot be
// written.
bool WriteLogOfChunks(const std::string& path, ByteString header,
                      const std::vector<ByteString>& chunks, std::uint64_t megabytes);

// A size as these tools take it: up to six digits.
std::optional<std::uint64_t> ParseMegabytes(std::string_view text);

}  // namespace tarnlex::support
