// Every setting of one run, as plain data: read from the command line, the same from then on.
#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

namespace tarnlex {

inline constexpr const char* kProgramName = "tarnlex";
inline constexpr const char* kVersion = "ver: 0.33";
inline constexpr std::uint64_t kAnyEventId = ~std::uint64_t{0};

// A separator character inside a cell and what replaces it; 0 means that nothing is replaced. One
// that takes several bytes, and becomes a blank, stands in `character`.
struct SeparatorClass {
  char separator = '|';
  char replacement = ';';
  char character[5] = {};
};

// Identifiers from one to another, both included.
struct IdRange {
  std::uint64_t first = 0;
  std::uint64_t last = 0;
  bool operator==(const IdRange&) const = default;
};

// When what goes to standard output is coloured.
enum class ColorUse : std::uint8_t { kAuto, kAlways, kNever };

struct RunOptions {
  // What was called.
  std::string cmdline;  // the arguments, each wrapped in '"', joined by blanks

  // Where records go.
  std::string out_file;
  std::string out_dir;
  std::string diags_file;
  std::string account_file;
  bool to_file = false;
  bool have_out_dir = false;

  // Who the timeline names.
  std::string username;
  std::string hostname;

  // How records look.
  std::map<std::string, std::string> alias_map;       // lower-cased alias to true path
  std::map<std::string, std::string> alias_path_map;  // lower-cased alias to true directory
  std::string date_format = "mm/dd/yyyy";
  std::string time_format = "hh:mm:ss.xxx";
  SeparatorClass separator_class;
  std::string separator = " | ";
  bool delimited = false;     // no padding to column widths
  bool pad_separator = true;  // one blank before the time of a split date and time
  bool hex_numbers = false;   // no option sets it
  bool xml_form = false;      // asked for; rows look as they do without a form
  bool csv_form = false;
  bool l2t_form = false;
  bool csvgen_form = false;
  bool bodyfile_form = false;
  bool multiline_form = false;
  bool json_form = false;  // forms from here on are streams, see IsStream
  bool event_json_form = false;
  bool event_xml_form = false;
  bool timesketch = false;  // -json has what an import into Timesketch asks for
  bool pair_datetime = false;
  bool cards_form = false;
  std::optional<std::size_t> card_width;  // characters a line of a card may take; 0: any number
  ColorUse color = ColorUse::kAuto;
  std::vector<std::string> columns;  // of tables and cards, in that order; empty: all there are
  bool all_params = false;

  // Whether every value of every event is given: see docs/limits.md for what is lost otherwise.
  bool complete = false;
  // Whether records are given that a log does not use any more.
  bool recover = false;
  // Whether an event that several logs hold is given once.
  bool unique = false;

  // Raw images that are searched for logs, each once, in its order, and where found logs go.
  std::vector<std::string> images;
  bool keeps_carved = false;
  std::string carve_folder;

  // How the run talks.
  bool strict = false;  // what there is to remark ends the run
  bool show_status = true;
  bool diags_on = false;
  bool account_on = false;

  // Which logs. Of the last three sources only one is there.
  bool pipe = false;
  bool logs_listed = false;            // -log was given, even if it names nothing
  std::vector<std::string> log_paths;  // of -log, each once, in its order
  std::vector<std::string> folders;    // of -dir, each once, in its order
  bool live_system = false;
  std::optional<std::string> partition;  // a drive letter, or where a volume is mounted
  std::optional<std::string> shadow_copy;

  // Which part of each log, of how many: from 1 on.
  std::uint64_t part = 1;
  std::uint64_t parts = 1;

  // Which records.
  std::uint64_t start_time = 0;  // FILETIME; 0 is no bound
  std::uint64_t stop_time = 0;
  std::vector<std::uint64_t> event_ids;
  std::vector<IdRange> event_ranges;
  std::string substring;
  bool report_pw = false;
  bool report_time = false;
  bool report_logon = false;
  bool report_startstop = false;
  bool report_creds = false;
  bool report_usb = false;
  std::vector<std::string> library_reports;  // their names, each once
  bool dump_all = true;
  bool have_cmd_file = false;
  std::string cmd_file;

  // What is counted.
  bool stats_on = false;
  std::string stats_file;
  std::vector<std::string> hist_ids;
};

// Whether logs are looked for in raw images, and nothing else is read.
inline bool IsCarving(const RunOptions& options) { return !options.images.empty(); }

// Whether records say where they stand, and what of them is proved.
inline bool TellsPlaces(const RunOptions& options) { return options.recover || IsCarving(options); }

// Whether records are written as they are read, and nothing but records goes to standard output.
inline bool IsStream(const RunOptions& options) {
  return options.json_form || options.event_json_form || options.event_xml_form;
}

}  // namespace tarnlex
