// A log of either container through a command file, the built-in reports or the plain dump, down to
// what is written in any form and to the statistics. The input is a byte that picks the form, one
// that picks the queries, the text of a command file up to a zero byte, and the log.
#include <vector>

#include "fuzz/fuzz_target.h"
#include "fuzz/whole_log.h"
#include "reports/command_file.h"
#include "reports/command_language.h"
#include "reports/report_library.h"
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
  options.cards_form = form == 0 && (byte & 16) != 0;
  if (options.cards_form) options.card_width = byte;
  if ((byte & 32) != 0) options.columns = {"level", "TargetUserName", "eventid", "param_01", "x"};
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

QueryList QueriesFor(std::uint8_t byte, std::string_view commands, const LogInfo& log,
                     RunOptions& options) {
  QueryList queries;
  if ((byte & 4) != 0) options.substring = "a";
  if ((byte & 8) != 0) options.hist_ids = {"targetusername", "1"};
  if ((byte & 1) != 0) {
    std::vector<TokenList> lines;
    ParseCommandText(commands, lines);
    BuildQueries(lines, log, options, true, queries);
  }
  if ((byte & 2) != 0) {
    for (const BuiltinReport& report : BuiltinReports()) {
      BuildQueries(ReportLines(report, FormatOf(log)), log, options, true, queries);
    }
  }
  if ((byte & 16) != 0) {
    const LibraryReport& report = ReportLibrary()[commands.size() % ReportLibrary().size()];
    BuildQueries(LinesOf(report), log, options, true, queries);
  }
  return queries.empty() ? PlainQueries(log, options) : queries;
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size < 3) return 0;
  const std::string_view input = TextOfInput(data + 2, size - 2);
  const std::size_t end = std::min(input.find('\0'), input.size() - 1);
  const std::string_view commands = input.substr(0, end);
  const Bytes bytes{data + 2 + end + 1, input.size() - end - 1};
  RunOptions options;
  SetForm(data[0], options);
  options.event_ids = {kAnyEventId};
  options.stats_on = true;
  options.show_status = false;
  const LogInfo log{
      .path = "log", .is_evtx = !bytes.empty() && bytes[0] == 'E', .kind = kKindSecurity};
  QueryList queries = QueriesFor(data[1], commands, log, options);
  TextSink out = MakeSink([](std::string_view) { return true; });
  RunState run = RunInto(out);
  BeginWalk(run.statistics, log, queries.size(), true);
  RunQueries(FileOf(bytes), log, queries, options, run);
  WriteStatistics(out, run.statistics, {{log.path, log}}, options);
  return 0;
}
