// Every setting of one run, as plain data: filled by app/, read by every folder.
#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include "logs/log_info.h"
#include "logs/text_sink.h"

namespace tarnlex {

struct EvtxDecoder;   // evtx/decoder.h
struct RecordOutput;  // output/record_output.h
struct Statistics;    // output/statistics.h

inline constexpr const char* kProgramName = "tarnlex";
inline constexpr const char* kVersion = "ver: 0.33";
inline constexpr std::uint64_t kAnyEventId = ~std::uint64_t{0};

// A separator character inside a cell and what replaces it; 0 means that nothing is replaced.
struct SeparatorClass {
  char separator = '|';
  char replacement = ';';
};

struct RunOptions {
  // What was called.
  std::string cmdline;  // the arguments, each wrapped in '"', joined by blanks

  // Where records go.
  std::string out_file;
  std::string out_dir;
  std::string diags_file;
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
  bool hex_numbers = false;
  bool xml_form = false;
  bool csv_form = false;
  bool l2t_form = false;
  bool csvgen_form = false;
  bool bodyfile_form = false;
  bool multiline_form = false;
  bool pair_datetime = false;
  bool all_params = false;
  bool header_pending = true;  // a timeline's header line is still to be written

  // How the run talks.
  bool show_status = true;
  bool diags_on = false;
  bool trial = false;            // the arguments are read once without opening or saying anything
  TextSink* diags = nullptr;     // open while diags_on; owned by the run
  TextSink* messages = nullptr;  // standard error; owned by the run
  RecordOutput* record_output = nullptr;  // where records are written; owned by the run
  EvtxDecoder* evtx_decoder = nullptr;    // null: every log gets its own; owned by the run
  Statistics* statistics = nullptr;       // what is counted; null without -stats; owned by the run

  // Which logs.
  bool pipe = false;
  LogInfo current_log;
  LogTable logs;

  // Which records.
  std::uint64_t start_time = 0;  // FILETIME; 0 is no bound
  std::uint64_t stop_time = 0;
  std::vector<std::uint64_t> event_ids;
  std::string substring;
  bool report_pw = false;
  bool report_time = false;
  bool report_logon = false;
  bool report_startstop = false;
  bool report_creds = false;
  bool report_usb = false;
  bool dump_all = true;
  bool have_cmd_file = false;
  std::string cmd_file;
  std::vector<std::vector<std::string>> command_lines;  // of the command file, taken apart

  // What is counted.
  bool stats_on = false;
  std::string stats_file;
  std::vector<std::string> hist_ids;
};

}  // namespace tarnlex
