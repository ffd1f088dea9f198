// What is gathered of a log's records only when its account is to be complete (-account).
#pragma once

#include "evt/record.h"
#include "evt/walk.h"

namespace tarnlex {

// Takes the record up into the survey of its log. Leaves it as it is.
void SurveyRecord(EvtAccount& account, const EvtRecord& record);

}  // namespace tarnlex
