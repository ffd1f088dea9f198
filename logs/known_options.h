// What is odd about a list of options: said to whoever wrote it, without any effect on what is
// read.
#pragma once

#include <cstddef>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "logs/option_search.h"

namespace tarnlex {

struct KnownOption {
  std::string_view name;
  bool takes_value = false;
  bool repeats = false;   // each one counts, not just the first
  bool any_text = false;  // its value is taken first, whatever it reads like
};

// An option that stands where options stand, with the value behind it.
struct OptionUse {
  const KnownOption* option = nullptr;
  std::string value;
};

struct OptionScan {
  std::vector<OptionUse> uses;         // of each option the first, or all where they repeat
  std::vector<std::string> left_over;  // what is neither an option nor the value of one
  std::vector<std::string> remarks;
};

// Reads `tokens` from `first` on, from left to right. The names of the table are in lower case.
OptionScan ScanOptions(const Arguments& tokens, std::size_t first,
                       std::span<const KnownOption> table);

// The entry of that name, without regard to ASCII case; null without one.
const KnownOption* FindOption(std::string_view name, std::span<const KnownOption> table);

// The entry whose name differs least from a name that is none; null where all differ much.
const KnownOption* NearestOption(std::string_view name, std::span<const KnownOption> table);

// The first use of an option; null without one.
const OptionUse* UseOf(const OptionScan& scan, std::string_view name);

}  // namespace tarnlex
