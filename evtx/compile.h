// From the tokens of a binary XML stream to a tree.
#pragma once

#include <cstdint>
#include <deque>
#include <string>
#include <string_view>
#include <unordered_map>

#include "event/tree.h"
#include "evtx/binary_xml.h"
#include "evtx/evtx_format.h"
#include "logs/bytes.h"

namespace tarnlex {

// A name as it was made.
struct MadeName {
  std::string_view text;
  bool is_odd = false;  // it is no name of an element or attribute
};
using NamesByOffset = std::unordered_map<std::uint32_t, MadeName>;

// Names of a chunk by the offset of their records, for streams that live no longer than the chunk:
// events without a template are compiled one by one, and have the same names over and over.
struct ChunkNames {
  NamesByOffset by_offset;
  std::deque<std::string> texts;
  std::uint64_t text_left = kMaxChunkNameText;  // bytes that their texts may still take
};

// Compiles the stream from `begin` to `end` of the chunk into `tree`, which is overwritten. Never
// fails: a stream that ends badly gives a tree up to there. Without `shared` names the tree has its
// own. A name that cannot be read, or that would be too much text, is empty.
void CompileStream(Bytes chunk, std::uint32_t begin, std::uint32_t end, StreamLayout layout,
                   ChunkNames* shared, Tree& tree);

}  // namespace tarnlex
