// How far a run has come: kept by the work, for whoever watches it at a terminal, and for what is
// said of a run that was interrupted.
#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>

#include "output/run_status.h"

namespace tarnlex {

struct Progress {
  std::function<bool()> interrupted = {};           // whether somebody wants the run to end
  std::function<void(const RunStatus&)> show = {};  // empty when nobody watches
  bool stopped = false;                             // the run has ended before its work
  RunStatus status = {};
  std::uint64_t bytes = 0;         // of all work; 0 when nobody knows
  std::uint64_t bytes_before = 0;  // of the logs that are done
  std::uint64_t log_size = 0;
  std::uint64_t log_done = 0;
  std::chrono::steady_clock::time_point began = {};
  std::chrono::steady_clock::time_point shown = {};
};

// Whether the run is to end here, with work left; asked wherever it can.
inline bool StopsHere(Progress& progress) {
  if (progress.interrupted && progress.interrupted()) progress.stopped = true;
  return progress.stopped;
}

// The logs that are done count from here on; their sizes together are `bytes`.
void BeginWork(Progress& progress, std::uint64_t bytes);

// The next log, the one at `number` of so many.
void BeginLog(Progress& progress, const std::string& name, std::size_t number, std::size_t count);

// How many bytes of the log are read, and of how many. Shows it a few times a second at most, so it
// may be called for every few chunks or records.
void Advance(Progress& progress, std::uint64_t done, std::uint64_t size);

// Where an interrupted run has ended: "in log 3 of 12, PATH, at 45% of it".
std::string InterruptedAt(const Progress& progress);

}  // namespace tarnlex
