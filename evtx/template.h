// A binary XML stream prepared for use: read once, then kept as a flat list of steps that say which
// named value comes next and which literal texts and slots it is made of. Running the steps over a
// substitution array costs no parsing.
#pragma once

#include <cstdint>
#include <deque>
#include <string>
#include <string_view>
#include <vector>

#include "evtx/binary_xml.h"
#include "evtx/names.h"
#include "logs/bytes.h"

namespace tarnlex {

// One part of a text: a literal, or a slot of the substitution array.
struct TextPiece {
  std::string_view literal;
  std::uint16_t slot = 0;
  bool is_slot = false;
  bool optional = false;  // an empty slot leaves the value unresolved instead of giving "0"
};

enum class StepKind : std::uint8_t {
  kSlotValue,     // a value that is one slot: by far the most frequent
  kValue,         // a value of any pieces under a known name
  kComputedName,  // a "Data" element whose Name attribute holds slots
  kUnnamedData,   // a "Data" element without Name: numbered as it is met
  kCountData,     // takes the number of an unnamed "Data" element that has children
  kCountedData,   // its value, under the number taken
  kDecodeSlot,    // a slot that stands before child elements: decoded here if it is binary XML
  kInstance,      // a template instance inside the stream
};

struct Step {
  StepKind kind = StepKind::kValue;
  bool optional = false;          // kSlotValue
  std::uint16_t slot = 0;         // kSlotValue, kDecodeSlot
  std::uint32_t first_piece = 0;  // the value's pieces
  std::uint32_t piece_count = 0;
  std::uint32_t decoded_pieces = 0;    // leading pieces whose binary XML kDecodeSlot has decoded
  std::uint32_t first_name_piece = 0;  // kComputedName
  std::uint32_t name_piece_count = 0;
  std::uint32_t offset = 0;  // kInstance: of the token in the chunk
  std::uint32_t tokens = 0;  // read up to and with this step
  Name* name = nullptr;
};

// How a stream ended.
enum class StreamEnd : std::uint8_t {
  kComplete,  // by its end token or at its stated size
  kStopped,   // at a token that is not decoded
  kCut,       // inside a token
};

struct TemplateProgram {
  std::vector<Step> steps;
  std::vector<TextPiece> pieces;
  std::deque<std::string> literals;
  std::uint32_t tokens = 0;
  StreamEnd end = StreamEnd::kComplete;
  bool cached = false;     // kept for the chunks to come (see template_cache.h)
  bool odd_names = false;  // some of its names are no names
  // The value "EventID" when nothing before it can hold one too: its step, and the slots (as bits)
  // that must not be binary XML for that to be sure. -1 when only a full run can tell.
  int event_id_step = -1;
  std::uint32_t slots_before_event_id = 0;
};

// Prepares the stream from `begin` to `end` of the chunk. Never fails: a stream that ends badly
// gives the steps up to there.
void CompileStream(Bytes chunk, std::uint32_t begin, std::uint32_t end, StreamLayout layout,
                   NameTable& names, TemplateProgram& program);

}  // namespace tarnlex
