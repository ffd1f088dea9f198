// What conditions may ask of an EVT record, as text.
#pragma once

#include <string>
#include <string_view>

#include "evt/record.h"

namespace tarnlex {

// The text of one field: "source_name", "user_sid", "success_type" (the event type in decimal),
// "string" (all insertion strings, joined with nothing), or the decimal number of one insertion
// string, counted from 1. Names are matched exactly; any other name gives an empty text. True when
// the text is not empty.
bool FieldText(EvtRecord& record, std::string_view name, std::string& text);

}  // namespace tarnlex
