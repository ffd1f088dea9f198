// Every option of the program: what -options prints, what remarks on a command line go by, and what
// the manual page, the documents and the completions of shells are held to.
#pragma once

#include <span>
#include <string>
#include <string_view>

#include "logs/known_options.h"

namespace tarnlex {

struct OptionEntry {
  std::string_view name;
  std::string_view value;  // what stands behind it; empty for a switch
  std::string_view group;
  std::string_view help;
  std::string_view since;  // the version that brought it, but for those of the first
};

std::span<const OptionEntry> OptionTable();

// The same for whoever looks for options in a command line.
std::span<const KnownOption> ProgramOptions();

// All options by group, a line for each.
std::string OptionsText();

// Whether the one argument asks for the options, or for the version.
bool WantsOptions(const Arguments& args);
bool WantsVersion(const Arguments& args);

// Version, commit and build, a line for each.
std::string VersionText();

}  // namespace tarnlex
