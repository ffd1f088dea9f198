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

// What all logs go through, one after the other: a report, the command file or the plain dump.
struct Work {
  std::function<bool(const LogInfo&)> takes;
  std::function<QueryList(const LogInfo&)> queries;
  bool filters = true;  // somebody asked for them
};

QueryList QueriesOf(const RunOptions& options, const LogInfo& log,
                    const std::vector<TokenList>& lines) {
  QueryList queries;
  BuildQueries(lines, log, options, false, queries);
  return queries;
}

// A ready-made report. Nobody knows which log a record of an image was of, so each has to show it.
Work ReportWork(const RunOptions& options, const BuiltinReport& report) {
  return {[&](const LogInfo& log) {
            return IsCarving(options) || ReportFits(report, log, options.complete);
          },
          [&](const LogInfo& log) {
            QueryList queries = QueriesOf(options, log, ReportLines(report, FormatOf(log)));
            return IsCarving(options) ? QueriesByKind(report, queries) : queries;
          }};
}

bool TakesAll(const LogInfo&) { return true; }

std::vector<Work> PlanWork(const RunOptions& options, const RunState& run) {
  std::vector<Work> works;
  for (const BuiltinReport& report : BuiltinReports()) {
    if (options.*report.selected) works.push_back(ReportWork(options, report));
  }
  for (const std::string& name : options.library_reports) {
    works.push_back({TakesAll, [&, lines = LinesOf(*FindLibraryReport(name))](const LogInfo& log) {
                       return QueriesOf(options, log, lines);
                     }});
  }
  if (options.have_cmd_file) {
    works.push_back(
        {TakesAll, [&](const LogInfo& log) { return QueriesOf(options, log, run.command_lines); }});
  }
  if (options.dump_all) {
    works.push_back({TakesAll, [&](const LogInfo& log) { return PlainQueries(log, options); },
                     !options.hist_ids.empty()});
  }
  return works;
}

void TellApart(LogPass& pass, UniqueEvents* unique) {
  if (unique) BeginUniquePass(pass.unique, *unique, false);
  pass.account.unique.asked = unique != nullptr;
}

// One search of an image with the queries made for either container. True when it wrote rows.
bool SearchImage(const RunOptions& options, RunState& run, const LogInfo& image, const Work& work,
                 UniqueEvents* unique) {
  LogInfo evtx_log = image;
  LogInfo evt_log = image;
  evtx_log.is_evtx = true;
  evt_log.is_evtx = false;
  QueryList evtx_queries = work.queries(evtx_log);
  QueryList evt_queries = work.queries(evt_log);
  const std::size_t count = evtx_queries.size() + evt_queries.size();
  if (count == 0) return false;
  if (options.stats_on) BeginWalk(run.statistics, image, count, work.filters);
  LogPass evtx{options, run, evtx_log, evtx_queries};
  LogPass evt{options, run, evt_log, evt_queries};
  TellApart(evtx, unique);
  TellApart(evt, unique);
  evt.first_query = evtx_queries.size();
  CarveImage(evtx, evt);
  return evtx.wrote || evt.wrote;
}

// One walk over one log with the queries made for it. True when it wrote rows.
bool RunLog(const RunOptions& options, RunState& run, const LogInfo& log, const Work& work,
            UniqueEvents* unique) {
  // Behind a record that could not be written nothing is worth reading.
  if (HasFailed(run.records)) return false;
  if (IsCarving(options)) return SearchImage(options, run, log, work, unique);
  QueryList queries = work.queries(log);
  if (queries.empty()) return false;
  if (options.stats_on) BeginWalk(run.statistics, log, queries.size(), work.filters);
  LogPass pass{options, run, log, queries};
  TellApart(pass, unique);
  WalkLog(pass);
  return pass.wrote;
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

// Whether logs are walked before, to note the events that they have: a recovered record of one log
// gives way to a record that another log still has.
bool NotesFirst(const RunOptions& options, const LogTable& logs) {
  return options.unique && options.recover && !IsCarving(options) && logs.size() > 1;
}

// Notes the events that a work will count and give, as far as logs have them.
void NoteEvents(RunOptions options, RunState& run, const Work& work, UniqueEvents& unique) {
  options.show_status = false;
  RunState notes{run.messages, MakeRecordOutput(*run.records.standard_output, run.messages)};
  notes.progress = run.progress;
  const std::size_t count = CountLogs(work, run.logs);
  std::size_t number = 0;
  for (const auto& [path, log] : run.logs) {
    if (StopsHere(notes.progress)) break;
    if (!work.takes(log)) continue;
    BeginLogOf(options, notes, log, ++number, count);
    run.current_log = &log;
    QueryList queries = work.queries(log);
    if (queries.empty()) continue;
    LogPass pass{options, notes, log, queries};
    BeginUniquePass(pass.unique, unique, true);
    WalkLog(pass);
  }
  run.progress = notes.progress;
}

// All logs in path order through one work. True when rows were written.
bool RunWork(const RunOptions& options, RunState& run, const Work& work, UniqueEvents* unique,
             bool is_last) {
  if (NotesFirst(options, run.logs)) NoteEvents(options, run, work, *unique);
  const std::size_t count = CountLogs(work, run.logs);
  std::size_t number = 0;
  bool wrote = false;
  for (const auto& [path, log] : run.logs) {
    if (StopsHere(run.progress)) break;
    if (work.takes(log)) {
      BeginLogOf(options, run, log, ++number, count);
      wrote |= RunLog(options, run, log, work, unique);
    }
    if (is_last && run.finished) run.finished(log);
  }
  return wrote;
}

// Piped logs come one by one and go through all works, each of which knows those before.
UniqueEvents* UniqueEventsOf(const RunOptions& options, RunState& run, std::size_t work) {
  if (!options.unique) return nullptr;
  if (run.unique.size() <= work) run.unique.resize(work + 1);
  return &run.unique[work];
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
  const std::uint64_t walks = NotesFirst(options, run.logs) ? 2 : 1;
  if (!options.pipe) {
    BeginWork(run.progress, known ? walks * BytesOf(works, run.logs) / options.parts : 0);
  }
  run.progress.status.reports = works.size();
  bool wrote = false;
  for (std::size_t at = 0; at < works.size(); ++at) {
    run.progress.status.report = at + 1;
    wrote |=
        RunWork(options, run, works[at], UniqueEventsOf(options, run, at), at + 1 == works.size());
    if (!options.pipe && options.unique) run.unique[at] = {};
  }
  EndLogs(run.account, run.logs, WhyUnwalked(options, run));
  return wrote;
}

}  // namespace tarnlex
