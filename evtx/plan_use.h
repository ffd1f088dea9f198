// What a record has to be like to be served by a kept plan. Where that is known of one record,
// others like it need not be asked for their plans.
#pragma once

#include <cstddef>
#include <cstdint>

#include "evtx/decoded_event.h"
#include "evtx/decoder.h"
#include "evtx/evtx_format.h"
#include "evtx/template_store.h"

namespace tarnlex {

// What a plan costs, whatever the values of its record are.
struct PlanCost {
  std::uint64_t literal_text = 0;
  std::uint64_t number_room = 0;
  std::uint64_t fixed_cost = 0;  // of its document
  std::uint32_t work = 0;
};

// The use of a kept plan for all records of its kind.
struct PlanUse {
  PlanKey key;  // without a tree of its own: no use
  PlanCost cost;
};

PlanCost CostOf(const Plan& plan);

// What the record may say before it takes from what its chunk has for repetitions.
inline std::uint64_t FreeText(const DecodedEvent& event) {
  return kTextSaidOnce + kTextPerByte * event.share;
}

// A bound of all texts of a plan that uses no slot twice, but for what numbers and single-byte
// strings take that end where they end.
std::uint64_t CountedText(const DecodedEvent& event, const PlanCost& cost);

// Whether the record can pay for a plan whose texts come to so much, beside other work.
inline bool CanPay(const DecodedEvent& event, const PlanCost& cost, std::uint64_t counted,
                   std::uint64_t other_work) {
  return cost.work + other_work <= event.work_bound &&
         counted + cost.number_room <= kMaxRecordText &&
         counted + cost.fixed_cost <= FreeText(event);
}

// How the record, whose plan has been asked for, uses it. No use where that says nothing of other
// records: of a plan that serves it alone or is not kept for long, of one that takes from what the
// records of a chunk share, and where more than sizes tells what the values cost.
PlanUse UseOf(EvtxDecoder& decoder, DecodedEvent& event);

// The key of the use that the record would make of a kept plan; without a tree where only asking
// for its plan tells.
PlanKey UsedKey(EvtxDecoder& decoder, DecodedEvent& event);

// Whether the record, whose key is that of the use, would be given the same plan, with nothing
// noted and nothing taken.
inline bool IsUsedBy(const PlanUse& use, const DecodedEvent& event) {
  return CanPay(event, use.cost, CountedText(event, use.cost), 0);
}

}  // namespace tarnlex
