// The six ready-made reports, as tables of lines of the command language.
#pragma once

#include <array>
#include <cstdint>
#include <span>
#include <string_view>

#include "logs/log_info.h"
#include "logs/run_options.h"

namespace tarnlex {

// One line of a report before it is written out.
struct BuiltinQuery {
  LogFormat format;
  std::uint32_t event_id;
  std::string_view name;
  std::string_view condition;  // empty: none
  bool all_data;
  std::string_view pulls;  // separated by ", "
};

// A report, the option that selects it and the logs it is for. Empty texts in the lists are unused.
struct BuiltinReport {
  bool RunOptions::*selected = nullptr;
  std::string_view name;      // of the option, without its dash
  std::string_view question;  // that it answers
  std::string_view since;     // which systems have its events
  std::span<const BuiltinQuery> queries;
  std::array<std::string_view, 2> kinds = {};       // the log's kind equals one of these...
  std::string_view kind_part = {};                  // ...or contains this
  std::array<std::string_view, 4> name_parts = {};  // the lower-cased file name contains one
  bool kind_is_enough = false;                      // whatever the file name
  bool evtx_only = false;
};

// All reports, in the order in which they run.
std::span<const BuiltinReport> BuiltinReports();

}  // namespace tarnlex
