// A stream of an event, compiled: what it says in document order, immutable, and whole. What tables
// make of it is not decided here (see literal.h).
#pragma once

#include <cstddef>
#include <cstdint>
#include <deque>
#include <string>
#include <string_view>
#include <vector>

namespace tarnlex {

enum class NodeKind : std::uint8_t {
  kElement,            // opens; its name
  kStartEnd,           // ends the start tag: what follows is content
  kElementEnd,         // ends an element, an empty one too
  kAttribute,          // its name; parts of its value follow
  kText,               // literal text
  kSlot,               // the value of a slot
  kInstance,           // a template instance inside of the stream
  kCData,              // text of a CDATA section
  kCharacter,          // a character given by its number
  kEntity,             // an entity by name
  kInstructionTarget,  // a processing instruction: its name
  kInstructionData,    // and its text
  kStreamEnd,          // the end token
  kUnknown,            // no token that is known; nothing behind it can be read
};

struct Node {
  NodeKind kind = NodeKind::kUnknown;
  bool optional = false;       // kSlot: an empty slot may be left out
  std::uint16_t slot = 0;      // kSlot; kCharacter: its number
  std::uint32_t place = 0;     // kInstance: where its token stands in the container's bytes
  std::string_view text = {};  // UTF-8
};

// How a stream ended.
enum class StreamEnd : std::uint8_t {
  kComplete,  // by its end token or at its stated size
  kStopped,   // at a token that is not decoded
  kCut,       // inside a token
};

// What the literal policy takes of a tree (see literal.h), found out once.
struct LiteralExtent {
  std::uint32_t nodes = 0;  // it reads so many
  StreamEnd end = StreamEnd::kComplete;
  // The element "EventID" where its text is one slot and nothing before it can hold that name, if
  // the slots of `slots_before` (as bits) hold no binary XML. -1 when only flattening can tell.
  int event_id_slot = -1;
  std::uint32_t event_id_nodes = 0;  // up to and with its end
  std::uint64_t slots_before = 0;
};

struct Tree {
  std::vector<Node> nodes;        // one for each token
  std::string literals;           // what literal texts view
  std::deque<std::string> names;  // what names view, unless they belong to the chunk
  StreamEnd end = StreamEnd::kComplete;
  std::size_t name_text = 0;      // bytes of UTF-8 that its names took to make
  std::size_t compared_text = 0;  // bytes of the names that it is compared by, if it can be kept
  bool odd_names = false;         // elements or attributes with names that are none
  bool has_instances = false;
  bool cut_names = false;  // names were left empty, as they were too long together
  bool keepable = false;   // can be told from others by its bytes
  bool kept = false;       // outlives its chunk
  LiteralExtent literal;
};

}  // namespace tarnlex
