// The time of day as all texts of instants have it.
#pragma once

#include "logs/decimal_digits.h"

namespace tarnlex {

// Writes "14:05:09." and seven digits for the second of a day and `ticks` of 100 ns, and a "0"
// behind them; returns the end of the digits, where that zero is.
inline char* WriteClock(char* out, unsigned second_of_day, unsigned ticks) {
  const unsigned minute_of_day = second_of_day / 60;
  const unsigned hour = minute_of_day / 60;
  WriteTwo(out, hour);
  WriteTwo(out + 3, minute_of_day - 60 * hour);
  WriteTwo(out + 6, second_of_day - 60 * minute_of_day);
  out[2] = out[5] = ':';
  out[8] = '.';
  return WriteEight(10 * ticks, out + 9) - 1;
}

}  // namespace tarnlex
