// Rows of records whose values a plan gives: which of their cells are the same for all of them is
// settled once, and those cells are copied as they will lie in the row.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "evtx/decoded_event.h"
#include "evtx/decoder.h"
#include "output/event_rows.h"

namespace tarnlex {

// A cell whose text comes out of a slot, and the finished cells in front of it.
struct PlannedCell {
  std::uint32_t fixed_begin = 0;  // of the finished cells, in PlannedShape::fixed
  std::uint32_t fixed_size = 0;
  std::uint8_t slot = 0;
  bool nested = false;    // a slot of the nested array
  bool optional = false;  // an empty slot leaves the value unresolved
  bool describes_row = false;
  bool is_provider = false;  // the row keeps this text as its provider,
  bool is_level = false;     // or this one as its level
};

// The rows that one query makes of the records of one plan.
struct PlannedShape {
  const ColumnSet* columns = nullptr;  // null until the plan is first used
  std::string fixed;                   // finished cells, and a block behind them to be read
  std::vector<PlannedCell> cells;
  std::uint32_t last_begin = 0;  // of the finished cells behind all slots
  std::uint32_t last_size = 0;
  std::string_view unresolved;  // the text of a value that an empty slot leaves out
  std::string_view provider;    // from a literal, or of the last record
  std::uint32_t level = 0;      // from a literal
};

// The shape of rows with all values of the plan.
PlannedShape MakePlannedShape(EventRows& rows, const ValuePlan& plan);

// The shape of rows with those `columns` that a query pulls; a name without a value stays empty.
PlannedShape MakePulledShape(EventRows& rows, const ValuePlan& plan, const ColumnSet& columns);

// Adds the row of the record framed last, whose plan made `shape`. False, nothing being added, for
// a record that could make a row too large to be joined: its cells would not go with the finished
// ones.
bool AddPlannedRow(EventRows& rows, PlannedShape& shape, const EvtxDecoder& decoder,
                   const DecodedEvent& event, EventRecord& row);

}  // namespace tarnlex
