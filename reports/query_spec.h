// One query: which events it takes and what it takes from them. Made from a report line, from a
// line of a command file, or from the plain command-line filters.
#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "logs/log_info.h"
#include "logs/run_options.h"

namespace tarnlex {

struct QuerySpec {
  std::string log_path;                  // -log, else the path of the log being processed
  std::uint64_t event_id = kAnyEventId;  // -id
  std::uint64_t last_event_id = 0;       // of a range that begins with event_id
  std::string conditions;                // -conditions: "field|wanted" or "field"
  std::vector<std::string> all_of;       // -and: the same, each of which must hold
  std::vector<std::string> none_of;      // -not: the same, none of which may hold
  std::string channel;                   // -channel: all of the text
  std::string provider;                  // -provider: all of the text; EVT: the source
  std::string name;                      // -name
  std::string type;                      // -type, lower-cased
  std::string string_exists;             // -string_exists, or the run's -string
  std::string success_condition;         // "success_type|" or "Level|" and a digit or word
  std::uint64_t start_time = 0;          // FILETIME; 0 is no bound
  std::uint64_t stop_time = 0;
  std::uint32_t histogram_number = 0;  // position among the queries that keep a histogram
  std::vector<std::string> histogram_fields;
  bool emit_row = true;
  bool all_data = false;
  LogFormat format = LogFormat::EVTX;
  bool event_lookup = false;
  bool histogram = false;
  std::vector<std::string> pull;  // names (EVTX); numbers with labels (EVT, until prepared)
  std::map<std::string, std::string, std::less<>> headers;  // -label: of pulled names or numbers
  std::map<std::uint16_t, std::string> labels;
  std::vector<std::string> histogram_columns;  // the histogram's fields by column name (EVT)
};

// The column that a pulled name gets: its label, else the name.
inline std::string_view HeaderOf(const QuerySpec& query, std::string_view name) {
  const auto header = query.headers.find(name);
  return header != query.headers.end() ? std::string_view(header->second) : name;
}

// Queries in the order in which a record is offered to them: by lower-cased log path, then by line.
using QueryList = std::vector<QuerySpec>;

}  // namespace tarnlex
