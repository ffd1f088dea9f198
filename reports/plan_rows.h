// Rows of records of both containers, written from their plans. Which of a row's cells are the same
// for all records of a kept plan is settled once, and those cells are kept once for all its rows.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "event/plan.h"
#include "output/event_rows.h"
#include "output/row_builder.h"

namespace tarnlex {

// A cell whose text is made for each record.
struct PlanCell {
  const PlanValue* value = nullptr;  // null: the cell is empty
  std::uint32_t slot = 0;            // the value's only part, where that is a slot
  bool is_slot = false;
  bool optional = false;  // of that slot
  bool describes_row = false;
  bool is_provider = false;  // the row keeps this text as its provider,
  bool is_level = false;     // or this one as its level
  // The place of the value that came last, if it may come again; by now another's, perhaps.
  RepeatedCell* last = nullptr;
};

// How the rows are laid out that one query makes of the records of one plan. Valid as long as the
// plan and the collection of the rows.
struct PlanLayout {
  const ColumnSet* columns = nullptr;    // null until made
  const RowLayout* finished = nullptr;   // the finished cells, if there are any
  std::vector<PlanCell> cells;           // all others, in column order
  std::vector<std::uint32_t> stretches;  // where in `cells` ends what no finished cell interrupts
  std::string_view unresolved;           // the text of a value that empty slots leave out
  std::uint32_t provider = 0;            // from a finished cell
  std::uint32_t last_provider = 0;       // of the last record
  std::uint32_t level = 0;               // from a finished cell, or as the record has it
  // Takes out of the text between two places what no row may hold; returns its new end. Null:
  // nothing is taken out.
  char* (*clean)(char* begin, char* end) = nullptr;
};

// An event with what says where its values are.
struct PlannedEvent {
  const EventStructure& structure;
  const Plan& plan;
  std::size_t max_text = 0;  // upper bound of the bytes of all texts of the plan
};

// Layouts of kept plans, by the plan's identifier.
using KeptLayouts = std::unordered_map<std::uint32_t, PlanLayout>;

// Where the layout of a plan lies; null for a plan that gets none.
PlanLayout* PlaceOf(KeptLayouts& kept, const Plan& plan);

// Lays out rows with those `columns` whose values are `values`, null for none; `unresolved` stands
// for values that are left out. With `finish`, literal cells are finished: then no row may be added
// that is too large to be joined (see FitsFinished).
void MakeLayout(EventRows& rows, const Plan& plan, const ColumnSet& columns,
                const std::vector<const PlanValue*>& values, std::string_view unresolved,
                bool finish, PlanLayout& layout);

// Whether a row of the record goes with finished cells.
bool FitsFinished(const PlannedEvent& event, const PlanLayout& layout);

// The layout at `place`, made once by `lay_out`, or one for this record alone.
template <typename LayOut>
PlanLayout& LayoutOf(PlanLayout* place, PlanLayout& loose, const PlannedEvent& event,
                     LayOut lay_out) {
  if (place) {
    if (!place->columns) lay_out(true, *place);
    if (FitsFinished(event, *place)) return *place;
  }
  lay_out(false, loose);
  return loose;
}

// Adds the row of a record, whose plan made the layout.
void AddPlanRow(EventRows& rows, PlanLayout& layout, const PlannedEvent& event, EventRecord& row);

}  // namespace tarnlex
