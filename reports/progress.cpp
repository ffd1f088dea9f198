#include "reports/progress.h"

#include <algorithm>
#include <cmath>

namespace tarnlex {
namespace {

using std::chrono::duration;
using std::chrono::milliseconds;
using std::chrono::steady_clock;

constexpr milliseconds kBetween{250};
constexpr milliseconds kSettled{1000};  // before that a rate says little

std::uint64_t PerCent(std::uint64_t done, std::uint64_t all) {
  const double part = static_cast<double>(std::min(done, all)) / static_cast<double>(all);
  return static_cast<std::uint64_t>(100 * part);
}

std::uint64_t Rounded(double number) { return static_cast<std::uint64_t>(std::llround(number)); }

void Measure(Progress& progress, steady_clock::time_point now) {
  RunStatus& status = progress.status;
  const std::uint64_t done = progress.bytes_before + progress.log_done;
  status.part.reset();
  status.left.reset();
  status.megabytes_per_second = 0;
  if (progress.bytes > 0) {
    status.part = PerCent(done, progress.bytes);
  } else if (progress.log_size > 0) {
    status.part = PerCent(progress.log_done, progress.log_size);
  }
  if (now - progress.began < kSettled || done == 0) return;
  const double rate = static_cast<double>(done) / duration<double>(now - progress.began).count();
  status.megabytes_per_second = Rounded(rate / 1e6);
  if (progress.bytes == 0) return;
  const std::uint64_t ahead = progress.bytes - std::min(done, progress.bytes);
  status.left = Rounded(static_cast<double>(ahead) / rate);
}

void Show(Progress& progress) {
  if (!progress.show) return;
  const steady_clock::time_point now = steady_clock::now();
  if (now - progress.shown < kBetween) return;
  progress.shown = now;
  Measure(progress, now);
  progress.show(progress.status);
}

}  // namespace

void BeginWork(Progress& progress, std::uint64_t bytes) {
  progress.bytes = bytes;
  progress.bytes_before = progress.log_size = progress.log_done = 0;
  progress.began = steady_clock::now();
}

void BeginLog(Progress& progress, const std::string& name, std::size_t number, std::size_t count) {
  progress.bytes_before += progress.log_size;
  progress.log_size = progress.log_done = 0;
  progress.status.name = name;
  progress.status.log = number;
  progress.status.logs = count;
  Show(progress);
}

void Advance(Progress& progress, std::uint64_t done, std::uint64_t size) {
  progress.log_done = done;
  progress.log_size = size;
  Show(progress);
}

std::string InterruptedAt(const Progress& progress) {
  if (progress.status.log == 0) return "before the first log";
  const bool whole = progress.log_size > 0 && progress.log_done >= progress.log_size;
  std::string text = whole ? "after " : "in ";
  text += PlaceText(progress.status) + ", " + progress.status.name;
  if (progress.log_size > 0 && !whole) {
    text += ", at " + std::to_string(PerCent(progress.log_done, progress.log_size)) + "% of it";
  }
  return text;
}

}  // namespace tarnlex
