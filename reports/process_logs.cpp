#include "reports/process_logs.h"

#include <algorithm>
#include <cstdint>
#include <functional>
#include <iterator>
#include <utility>
#include <vector>

#include "logs/platform.h"
#include "reports/builtin_reports.h"
#include "reports/carve_image.h"
#include "reports/command_language.h"
#include "reports/log_pass.h"
#include "reports/report_library.h"
#include "reports/report_lines.h"
#include "reports/walk_log.h"

namespace tarnlex {
namespace {

// Makes the queries for a log of the format that is stated for it.
using QueriesFor = std::function<QueryList(const LogInfo&)>;

// One search of an image with the queries made for either container.
bool SearchImage(const RunOptions& options, RunState& run, const LogInfo& image,
                 const QueriesFor& queries_for, bool filters) {
  LogInfo evtx_log = image;
  LogInfo evt_log = image;
  evtx_log.is_evtx = true;
  evt_log.is_evtx = false;
  QueryList evtx_queries = queries_for(evtx_log);
  QueryList evt_queries = queries_for(evt_log);
  const std::size_t count = evtx_queries.size() + evt_queries.size();
  if (count == 0) return false;
  if (options.stats_on) BeginWalk(run.statistics, image, count, filters);
  LogPass evtx{options, run, evtx_log, evtx_queries};
  LogPass evt{options, run, evt_log, evt_queries};
  evt.first_query = evtx_queries.size();
  CarveImage(evtx, evt);
  return evtx.wrote || evt.wrote;
}

// One walk over one log with the queries made for it; `filters` when somebody asked for them.
bool RunQueries(const RunOptions& options, RunState& run, const LogInfo& log,
                const QueriesFor& queries_for, bool filters) {
  // Behind a record that could not be written nothing is worth reading.
  if (HasFailed(run.records)) return false;
  if (IsCarving(options)) return SearchImage(options, run, log, queries_for, filters);
  QueryList queries = queries_for(log);
  if (queries.empty()) return false;
  if (options.stats_on) BeginWalk(run.statistics, log, queries.size(), filters);
  LogPass pass{options, run, log, queries};
  WalkLog(pass);
  return pass.wrote;
}

bool RunLines(const RunOptions& options, RunState& run, const LogInfo& log,
              const std::vector<TokenList>& lines) {
  const auto queries_for = [&](const LogInfo& of) {
    QueryList queries;
    BuildQueries(lines, of, options, false, queries);
    return queries;
  };
  return RunQueries(options, run, log, queries_for, true);
}

// A ready-made report. Nobody knows which log a record of an image was of, so each has to show it.
bool RunReport(const RunOptions& options, RunState& run, const LogInfo& log,
               const BuiltinReport& report) {
  const auto queries_for = [&](const LogInfo& of) {
    QueryList queries;
    BuildQueries(ReportLines(report, FormatOf(of)), of, options, false, queries);
    return IsCarving(options) ? QueriesByKind(report, queries) : queries;
  };
  return RunQueries(options, run, log, queries_for, true);
}

// What all logs go through, one after the other: a report, the command file or the plain dump.
struct Work {
  std::function<bool(const LogInfo&)> takes;
  std::function<bool(const LogInfo&)> run;  // true when it wrote rows
};

Work ReportWork(const RunOptions& options, RunState& run, const BuiltinReport& report) {
  return {[&](const LogInfo& log) {
            return IsCarving(options) || ReportFits(report, log, options.complete);
          },
          [&](const LogInfo& log) { return RunReport(options, run, log, report); }};
}

bool TakesAll(const LogInfo&) { return true; }

std::vector<Work> PlanWork(const RunOptions& options, RunState& run) {
  std::vector<Work> works;
  for (const BuiltinReport& report : BuiltinReports()) {
    if (options.*report.selected) works.push_back(ReportWork(options, run, report));
  }
  for (const std::string& name : options.library_reports) {
    works.push_back({TakesAll, [&, lines = LinesOf(*FindLibraryReport(name))](const LogInfo& log) {
                       return RunLines(options, run, log, lines);
                     }});
  }
  if (options.have_cmd_file) {
    works.push_back({TakesAll, [&](const LogInfo& log) {
                       return RunLines(options, run, log, run.command_lines);
                     }});
  }
  if (options.dump_all) {
    works.push_back({TakesAll, [&](const LogInfo& log) {
                       const auto plain = [&](const LogInfo& of) {
                         return PlainQueries(of, options);
                       };
                       return RunQueries(options, run, log, plain, !options.hist_ids.empty());
                     }});
  }
  return works;
}

std::size_t CountLogs(const Work& work, const LogTable& logs) {
  return static_cast<std::size_t>(std::count_if(
      logs.begin(), logs.end(), [&](const auto& log) { return work.takes(log.second); }));
}

std::uint64_t SizeOf(const std::string& path) {
  const auto file = OpenImage(path);
  return file ? file->file.size : 0;
}

// The sizes of all that is to be read; only asked for when somebody watches.
std::uint64_t BytesOf(const std::vector<Work>& works, const LogTable& logs) {
  std::uint64_t bytes = 0;
  for (const auto& [path, log] : logs) {
    const std::uint64_t size = SizeOf(path);
    for (const Work& work : works) bytes += work.takes(log) ? size : 0;
  }
  return bytes;
}

// Piped logs come one by one: nobody knows how many more, and the run counts them.
void BeginLogOf(const RunOptions& options, RunState& run, const LogInfo& log, std::size_t number,
                std::size_t count) {
  run.current_log = &log;
  if (options.pipe) {
    BeginLog(run.progress, log.path, run.progress.status.log, 0);
  } else {
    BeginLog(run.progress, log.path, number, count);
  }
}

// All logs in path order through one work. True when rows were written.
bool RunWork(const RunOptions& options, RunState& run, const Work& work, bool is_last) {
  const std::size_t count = CountLogs(work, run.logs);
  std::size_t number = 0;
  bool wrote = false;
  for (const auto& [path, log] : run.logs) {
    if (StopsHere(run.progress)) break;
    if (work.takes(log)) {
      BeginLogOf(options, run, log, ++number, count);
      wrote |= work.run(log);
    }
    if (is_last && run.finished) run.finished(log);
  }
  return wrote;
}

Unwalked WhyUnwalked(const RunOptions& options, const RunState& run) {
  if (HasFailed(run.records) || run.progress.stopped) return Unwalked::kCutShort;
  const auto& reports = BuiltinReports();
  const bool by_kind =
      std::any_of(std::begin(reports), std::end(reports),
                  [&](const BuiltinReport& report) { return options.*report.selected; });
  return by_kind ? Unwalked::kByKind : Unwalked::kUnasked;
}

}  // namespace

bool ProcessLogs(const RunOptions& options, RunState& run) {
  run.current_log = nullptr;
  ExpectLogs(run.records, run.logs, options);
  const std::vector<Work> works = PlanWork(options, run);
  const bool known = !options.pipe && run.progress.show;
  if (!options.pipe) BeginWork(run.progress, known ? BytesOf(works, run.logs) / options.parts : 0);
  run.progress.status.reports = works.size();
  bool wrote = false;
  for (std::size_t at = 0; at < works.size(); ++at) {
    run.progress.status.report = at + 1;
    wrote |= RunWork(options, run, works[at], at + 1 == works.size());
  }
  EndLogs(run.account, run.logs, WhyUnwalked(options, run));
  return wrote;
}

}  // namespace tarnlex
