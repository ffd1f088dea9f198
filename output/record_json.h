// A record as a line of JSON whose members are the same for every record, whatever container it is
// from and whatever is in it.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "event/plan.h"
#include "event/recovery.h"
#include "event/structure.h"
#include "logs/text_sink.h"
#include "output/json_steps.h"

namespace tarnlex {

// A value that a report pulls, and what it is called there.
struct PulledValue {
  std::string_view label;
  const PlanValue* value = nullptr;  // null: the event has none
};

// What all records of a plan have in common in this form. What is said beside the event stands
// between three runs of members.
struct RecordJson {
  JsonSteps steps;
  JsonStepRange head;    // "Channel" to "Level"
  JsonStepRange middle;  // "Task" to "TimeCreated"
  JsonStepRange tail;    // "UserID" to "RelatedActivityID", then what the event holds
  JsonStepRange data;    // in `tail`: what the event holds
  // Positions of members; -1 without such a member.
  int level = -1;
  int title = -1;      // "Provider"
  int id = -1;         // "EventID"
  int record_id = -1;  // "EventRecordID"
  int time = -1;       // "TimeCreated", the last one in `middle`
  bool pulls = false;  // a slot may stand in it twice: among what is pulled, and in "System"
  bool made = false;
};

// Lays out records with that document; `event` is one of them. With `pulled`, values of `plan`,
// these are its EventData, in place of all that it holds.
RecordJson LayOutRecordJson(const EventStructure& event, const Document& document, const Plan& plan,
                            const std::vector<PulledValue>* pulled);

// What is said of a record beside its event.
struct JsonRecord {
  std::string_view log;         // path of the log, as a JSON string
  std::string_view report;      // name of the report's line, as a JSON string; empty without one
  std::uint64_t record_id = 0;  // the header's
  std::uint64_t time = 0;       // when it happened
  std::uint64_t written_time = 0;
  std::uint64_t file_offset = 0;
  Recovery recovery = {};
  bool timesketch = false;  // with what an import into Timesketch asks for
};

// Writes the line of a record, whose plan made the layout. `slot_room` bounds the texts of the
// document's slots (RoomForSlots).
void WriteRecordJson(TextSink& out, const JsonRecord& record, const EventStructure& event,
                     std::size_t slot_room, const RecordJson& layout);

}  // namespace tarnlex
