// Rows of EVTX records, written from their plans. Which of a row's cells are the same for all
// records of a kept plan is settled once, and those cells are copied as they will lie in the row.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "event/plan.h"
#include "evtx/decoded_event.h"
#include "output/event_rows.h"

namespace tarnlex {

// The text of a value that an optional substitution leaves out.
inline constexpr std::string_view kUnresolved = "[null]";

// A cell whose text is made for each record, and the finished cells in front of it.
struct PlanCell {
  std::uint32_t fixed_begin = 0;  // of the finished cells, in PlanLayout::fixed
  std::uint32_t fixed_size = 0;
  const PlanValue* value = nullptr;  // null: the cell is empty
  std::uint32_t slot = 0;            // the value's only part, where that is a slot
  bool is_slot = false;
  bool optional = false;  // of that slot
  bool describes_row = false;
  bool is_provider = false;  // the row keeps this text as its provider,
  bool is_level = false;     // or this one as its level
};

// How the rows are laid out that one query makes of the records of one plan. Valid as long as the
// plan and the collection of the rows.
struct PlanLayout {
  const ColumnSet* columns = nullptr;  // null until made
  std::string fixed;                   // finished cells, and a block behind them to be read
  std::vector<PlanCell> cells;
  std::uint32_t last_begin = 0;  // of the finished cells behind all others
  std::uint32_t last_size = 0;
  std::string_view unresolved;     // the text of a value that empty slots leave out
  std::string_view provider;       // from a finished cell
  std::string_view last_provider;  // of the last record
  std::uint32_t level = 0;         // from a finished cell
};

// Lays out rows with those `columns` whose values are `values`, null for none; `unresolved` stands
// for values that are left out. With `finish`, literal cells are finished: then no row may be added
// that is too large to be joined (see FitsFinished).
void MakeLayout(EventRows& rows, const Plan& plan, const ColumnSet& columns,
                const std::vector<const PlanValue*>& values, std::string_view unresolved,
                bool finish, PlanLayout& layout);

// Whether a row of the record goes with finished cells.
bool FitsFinished(const DecodedEvent& event, const PlanLayout& layout);

// Adds the row of a record, whose plan made the layout.
void AddPlanRow(EventRows& rows, PlanLayout& layout, const DecodedEvent& event, const Plan& plan,
                EventRecord& row);

}  // namespace tarnlex
