// What a run with -stats counts, and its text: for every log the events by identifier, and what
// each filter took.
#pragma once

#include <array>
#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "logs/log_info.h"
#include "logs/run_options.h"
#include "logs/text_sink.h"
#include "output/event_rows.h"

namespace tarnlex {

// How many events, and the times of the earliest and the latest. An event whose time is no valid
// instant counts, but says nothing about when.
struct SpanCount {
  std::uint64_t count = 0;
  std::uint64_t first = 0;  // FILETIME; 0 while there is none
  std::uint64_t last = 0;
};
void AddToSpan(SpanCount& span, std::uint64_t filetime);

// Counts by event identifier. Identifiers are 16 bits wide in real logs; these lie in pages that
// are made when first needed, so that counting is an index away and a new log costs little.
struct EventIdCounts {
  using Page = std::array<SpanCount, 256>;
  std::array<std::unique_ptr<Page>, 256> pages;
  std::map<std::uint64_t, SpanCount> others;  // 65536 and above
};

// What one filter took: by event identifier, then key values, both spelt in the key (see
// statistics.cpp).
struct FilterCounts {
  std::vector<std::string> key_fields;
  // Where the key fields stand in rows of one shape, -1 for none; names are looked up once a shape.
  std::unordered_map<const ColumnSet*, std::vector<int>> key_columns;
  std::unordered_map<std::string, SpanCount> entries;  // put in order when written
};

struct LogStats {
  LogInfo log;
  bool counted = false;        // a walk has counted the records already
  bool any_match = false;      // at least one record passed a query
  bool shows_filters = false;  // the filter table is to be written
  EventIdCounts event_ids;
  std::map<std::size_t, FilterCounts> filters;  // by number; only those that took something
  std::size_t filter_count = 0;                 // of all walks so far
};

struct Statistics {
  std::map<std::string, LogStats> logs;  // by path
  LogStats* current = nullptr;           // the log being walked
  bool counting = false;                 // this walk is the first over its log
  std::size_t first_filter = 0;          // number of this walk's query 0
  std::string key;                       // scratch
  std::vector<std::string_view> cells;
};

// Begins a walk over `log` with `query_count` queries: their filters are numbered on behind those
// of earlier walks over the same log. `show_filters` when the queries come from a report or a
// command file, or -hist was given.
void BeginWalk(Statistics& statistics, const LogInfo& log, std::size_t query_count,
               bool show_filters);

// Every decoded record, whether or not a query takes it. Records of a log that was walked before
// are not counted again.
SpanCount& EventIdEntry(EventIdCounts& counts, std::uint64_t event_id);
inline void CountRecord(Statistics& statistics, std::uint64_t event_id, std::uint64_t filetime) {
  if (statistics.counting) {
    AddToSpan(EventIdEntry(statistics.current->event_ids, event_id), filetime);
  }
}

// A record that query `query` (its position in this walk) took, or that is handed to its histogram:
// `row` gives the values of the key fields (lower-cased names; none without a histogram).
void CountMatch(Statistics& statistics, std::size_t query,
                const std::vector<std::string>& key_fields, const EventRecord& row);

// For when the rows of the present log go to another collection from now on.
void ForgetColumns(Statistics& statistics);

// The block of one log.
void WriteLogStats(TextSink& out, const LogStats& stats, const RunOptions& options);

// The block of one log, also of one that was never walked; afterwards nothing is known of it.
void WriteAndForget(TextSink& out, Statistics& statistics, const LogInfo& log,
                    const RunOptions& options);

// The blocks of all `logs` in path order, also of those that were never walked;
// afterwards nothing is counted any more. Hands everything on.
void WriteStatistics(TextSink& out, Statistics& statistics, const LogTable& logs,
                     const RunOptions& options);

}  // namespace tarnlex
