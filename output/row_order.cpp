#include "output/row_order.h"

#include <algorithm>
#include <cstddef>
#include <tuple>

namespace tarnlex {
namespace {

// The next row of a run, a stretch of rows that arrived in order. A log has one of them, or two
// once it has wrapped.
struct RunHead {
  std::uint64_t time = 0;
  std::uint64_t id = 0;
  std::uint32_t number = 0;
  std::uint32_t end = 0;  // of the run
};

bool IsLater(const RunHead& a, const RunHead& b) {
  if (a.time != b.time) return a.time > b.time;
  return std::tie(a.id, a.number) > std::tie(b.id, b.number);
}

RunHead HeadAt(const EventRows& rows, std::uint32_t number, std::uint32_t end) {
  const EventRecord& row = rows.rows[number];
  return {row.timeCreated, row.eventRecordId, number, end};
}

std::vector<RunHead> FindRuns(const EventRows& rows) {
  std::vector<RunHead> runs;
  RunHead last;
  for (std::uint32_t number = 0; number < rows.rows.size(); ++number) {
    const RunHead head = HeadAt(rows, number, number + 1);
    if (runs.empty() || IsLater(last, head)) runs.push_back(head);
    runs.back().end = number + 1;
    last = head;
  }
  return runs;
}

// Brings the heap, of which the first may stand too early, in order again.
void Sink(std::vector<RunHead>& heap) {
  const RunHead head = heap.front();
  std::size_t at = 0;
  for (std::size_t child = 1; child < heap.size(); child = 2 * at + 1) {
    if (child + 1 < heap.size() && IsLater(heap[child], heap[child + 1])) ++child;
    if (!IsLater(head, heap[child])) break;
    heap[at] = heap[child];
    at = child;
  }
  heap[at] = head;
}

}  // namespace

RowNumbers OrderRows(const EventRows& rows) {
  std::vector<RunHead> runs = FindRuns(rows);
  std::make_heap(runs.begin(), runs.end(), IsLater);
  RowNumbers order;
  order.reserve(rows.rows.size());
  while (!runs.empty()) {
    RunHead& first = runs.front();
    order.push_back(first.number);
    if (first.number + 1 < first.end) {
      first = HeadAt(rows, first.number + 1, first.end);
    } else {
      first = runs.back();
      runs.pop_back();
    }
    if (runs.size() > 1) Sink(runs);
  }
  return order;
}

}  // namespace tarnlex
