// A stream of an event, compiled: what it says in document order, immutable, and whole. What tables
// make of it is not decided here (see flatten.h).
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
  std::uint32_t slot = 0;      // kSlot; kCharacter: its number
  std::uint32_t place = 0;     // kInstance: where its token stands in the container's bytes
  std::string_view text = {};  // UTF-8
};

// How a stream ended.
enum class StreamEnd : std::uint8_t {
  kComplete,  // by its end token or at its stated size
  kStopped,   // at a token that is not decoded
  kCut,       // inside a token
};

// Slots that fit into the bits that say which slots something goes by.
inline constexpr std::uint32_t kSlotBits = 64;

// A slot that is all of a value's text, where nothing before it can give a value of that name if
// the slots of `slots_before` (as bits) hold no binary XML.
struct SlotPlace {
  int slot = -1;            // -1 when only flattening can tell
  std::uint32_t nodes = 0;  // up to and with the value's end
  std::uint64_t slots_before = 0;
};

// What a policy reads of a tree (see extent.h), found out once.
struct TreeExtent {
  std::uint32_t nodes = 0;  // it reads so many
  StreamEnd end = StreamEnd::kComplete;
  SlotPlace event_id;     // the element "EventID"
  SlotPlace system_time;  // the attribute "SystemTime" of "TimeCreated"; complete policy only
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
  bool cut_names = false;    // names were left empty, as they were too long together
  bool keepable = false;     // can be told from others by its bytes
  bool kept = false;         // outlives its chunk
  std::uint32_t number = 0;  // of those that do, counted from 1
  TreeExtent extent;         // under the policy that it was compiled for
};

}  // namespace tarnlex
