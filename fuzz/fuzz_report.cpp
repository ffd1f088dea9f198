// A log of either container through a command file, the built-in reports or the plain dump, down to
// what is written in any form and to the statistics. The input is a byte that picks the form, one
// that picks the queries, the text of a command file up to a zero byte, and the log.
#include <vector>

#include "fuzz/fuzz_target.h"
#include "fuzz/whole_log.h"
#include "output/statistics.h"
#include "reports/command_file.h"
#include "reports/command_language.h"
#include "reports/report_lines.h"

namespace {

using namespace tarnlex;

void SetForm(std::uint8_t byte, RunOptions& options) {
  const unsigned form = byte % 7;
  options.csv_form = form == 1;
  options.csvgen_form = form == 2;
  options.l2t_form = form == 3;
  options.bodyfile_form = form == 4;
  options.multiline_form = form == 5;
  options.delimited = form == 1 || form == 2 || form == 6;
  options.all_params = byte >= 128;
  options.pair_datetime = (byte & 64) != 0;
  if (form == 1 || form == 2) {
    options.separator = ",";
    options.separator_class = {',', ' '};
  }
  if (form == 6) {
    options.separator = "\t";
    options.separator_class = {0, 0};
  }
}

void AddLines(const std::vector<TokenList>& lines, const RunOptions& options, QueryList& queries) {
  BuildQueries(lines, options, true, queries);
}

QueryList QueriesFor(std::uint8_t byte, std::string_view commands, RunOptions& options) {
  QueryList queries;
  if ((byte & 4) != 0) options.substring = "a";
  if ((byte & 8) != 0) options.hist_ids = {"targetusername", "1"};
  if ((byte & 1) != 0) {
    std::vector<TokenList> lines;
    ReadCommandFile(
        FileOf({reinterpret_cast<const std::uint8_t*>(commands.data()), commands.size()}), lines);
    AddLines(lines, options, queries);
  }
  if ((byte & 2) != 0) {
    for (const BuiltinReport& report : BuiltinReports()) {
      AddLines(ReportLines(report, FormatOf(options.current_log)), options, queries);
    }
  }
  return queries.empty() ? PlainQueries(options) : queries;
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size < 3) return 0;
  const std::string_view input = TextOfInput(data + 2, size - 2);
  const std::size_t end = std::min(input.find('\0'), input.size() - 1);
  const std::string_view commands = input.substr(0, end);
  const Bytes log{data + 2 + end + 1, input.size() - end - 1};
  RunOptions options;
  SetForm(data[0], options);
  options.event_ids = {kAnyEventId};
  options.current_log.path = "log";
  options.current_log.kind = kKindSecurity;
  options.current_log.is_evtx = !log.empty() && log[0] == 'E';
  options.logs.emplace("log", options.current_log);
  QueryList queries = QueriesFor(data[1], commands, options);
  Statistics statistics;
  options.statistics = &statistics;
  BeginWalk(statistics, options.current_log, queries.size(), true);
  TextSink out = MakeSink([](std::string_view) { return true; });
  RunQueries(FileOf(log), queries, options, out);
  WriteStatistics(out, statistics, options);
  return 0;
}
