// When an event happened, by what it says itself.
#pragma once

#include <cstdint>

#include "event/plan.h"
#include "event/structure.h"

namespace tarnlex {

// The FILETIME of the attribute "SystemTime" of "TimeCreated": a typed time, or an ISO 8601 text as
// forwarded events carry it. 0 where there is none, or none that can be read.
std::uint64_t SystemTimeOf(const EventStructure& event, const Plan& plan);

}  // namespace tarnlex
