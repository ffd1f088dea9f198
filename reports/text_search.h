// Whether any value of an EVTX record contains a text. Most records hold it nowhere, which a look
// at the bytes of their values tells without making texts of them.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "event/plan.h"
#include "evtx/decoded_event.h"
#include "evtx/decoder.h"
#include "evtx/plan_use.h"

namespace tarnlex {

// What is known of the values of a kept plan that no record of it can change, or that its bytes do
// not tell.
struct PlanSearch {
  bool known = false;
  bool in_literals = false;           // a value that consists of literal text alone contains it
  std::vector<std::uint32_t> joined;  // positions of values with several parts
};

struct TextSearch {
  std::string wanted;           // lower-cased; empty: not asked for
  std::string telling;          // a part of it that stands in bytes as it is; empty: none
  bool spans_values = false;    // it may begin in one value of a list and end in the next
  std::uint64_t chunk = 0;      // of the last record
  std::uint32_t asked = 0;      // how often, for that chunk
  bool was_asked_much = false;  // for the one before it
  bool is_chunk_searched = false;
  bool in_chunk = true;           // the chunk holds that part, or may
  std::vector<PlanSearch> plans;  // by the plan's identifier
  // Kinds of which no record holds the text that lies in a chunk without it. Of many queries most
  // know none.
  std::vector<PlanUse> lacking;
};

TextSearch MakeTextSearch(std::string_view lowered);

// Whether the text of a number, an instant, an identifier or plain bytes may contain the text,
// which is given in lower case.
bool MayBeInNumbers(std::string_view lowered);

// Whether records before it have shown that this one does not hold the text. It need not be asked
// for its plan then, which would change nothing.
bool IsKnownToLack(TextSearch& search, EvtxDecoder& decoder, DecodedEvent& event);

// Whether a value of the plan, which is the event's, contains the text.
bool Finds(TextSearch& search, EvtxDecoder& decoder, DecodedEvent& event, const Plan& plan,
           std::string& scratch);

}  // namespace tarnlex
