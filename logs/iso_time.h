// Instants in the notation of ISO 8601, as events state them.
#pragma once

#include <cstdint>
#include <string_view>

#include "logs/bytes.h"

namespace tarnlex {

// Reads "2023-03-14T09:26:53.5897932Z": a date, "T" or a blank, hours, minutes and seconds, a
// fraction of any number of digits, of which seven count, and "Z", an offset such as "+01:00"
// (which is taken off), or neither, for UTC. False, `filetime` untouched, for anything else and for
// what is no day of the calendar or before 1601.
bool ParseIsoTime(std::string_view text, std::uint64_t& filetime);

// Writes "2023-03-14T09:26:53.5897932Z" at `out` (room for 32 characters) and returns the end: any
// instant from 1601 on, for numbers up to 2^63 - 1.
char* WriteIsoTime(std::uint64_t filetime, char* out);

// Reads a SYSTEMTIME, eight 16-bit numbers, as UTC. False for too few bytes, and for what is no
// time of the calendar from 1601 to 30827, the years that SYSTEMTIME has.
bool ReadSystemTime(Bytes bytes, std::uint64_t& filetime);

}  // namespace tarnlex
