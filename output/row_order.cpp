#include "output/row_order.h"

#include <bit>
#include <cstddef>
#include <utility>

namespace tarnlex {
namespace {

// The next row of a run, a stretch of rows that arrived in order. A log has one of them, or two
// once it has wrapped.
struct Run {
  std::uint64_t time = 0;
  std::uint64_t id = 0;
  std::uint32_t rank = 0;  // among equals: the run's number, or kEnded
  std::uint32_t number = 0;
  std::uint32_t end = 0;
};
constexpr std::uint32_t kEnded = ~std::uint32_t{0};

// Without a branch, as nothing tells beforehand which of two runs is next.
inline bool IsEarlier(const Run& a, const Run& b) {
  const bool same_id = a.id == b.id;
  const bool by_id = (a.id < b.id) | (same_id & (a.rank < b.rank));
  return (a.time < b.time) | ((a.time == b.time) & by_id);
}

void Enter(Run& run, const EventRecord& row) {
  run.time = row.timeCreated;
  run.id = row.eventRecordId;
}

std::vector<Run> FindRuns(const EventRows& rows) {
  std::vector<Run> runs;
  const EventRecord* last = nullptr;
  for (std::uint32_t number = 0; number < rows.rows.size(); ++number) {
    const EventRecord& row = rows.rows[number];
    const bool goes_on =
        last && (row.timeCreated != last->timeCreated ? row.timeCreated > last->timeCreated
                                                      : row.eventRecordId >= last->eventRecordId);
    if (!goes_on) {
      runs.push_back({0, 0, static_cast<std::uint32_t>(runs.size()), number, 0});
      Enter(runs.back(), row);
    }
    runs.back().end = number + 1;
    last = &row;
  }
  return runs;
}

// Runs as they play against each other: in a tree with a leaf for each, every inner node has the
// loser of what was played there, so that when a winner changes only its way up is played again.
struct Tournament {
  std::vector<Run> runs;              // a power of two of them
  std::vector<std::uint32_t> losers;  // by node; the root is 1, the leaves lie behind
  std::uint32_t winner = 0;
};

std::uint32_t Play(Tournament& all, std::size_t node) {
  if (node >= all.losers.size()) return static_cast<std::uint32_t>(node - all.losers.size());
  const std::uint32_t left = Play(all, 2 * node);
  const std::uint32_t right = Play(all, 2 * node + 1);
  const bool left_wins = IsEarlier(all.runs[left], all.runs[right]);
  all.losers[node] = left_wins ? right : left;
  return left_wins ? left : right;
}

void PlayAgain(Tournament& all) {
  std::uint32_t winner = all.winner;
  for (std::size_t node = (winner + all.losers.size()) / 2; node > 0; node /= 2) {
    const std::uint32_t other = all.losers[node];
    const bool other_wins = IsEarlier(all.runs[other], all.runs[winner]);
    all.losers[node] = other_wins ? winner : other;
    winner = other_wins ? other : winner;
  }
  all.winner = winner;
}

Tournament MakeTournament(std::vector<Run> runs) {
  Tournament all{std::move(runs), {}, 0};
  constexpr std::uint64_t kLast = ~std::uint64_t{0};
  all.runs.resize(std::bit_ceil(all.runs.size()), {kLast, kLast, kEnded, 0, 0});
  all.losers.resize(all.runs.size());
  all.winner = Play(all, 1);
  return all;
}

}  // namespace

RowNumbers OrderRows(const EventRows& rows) {
  Tournament all = MakeTournament(FindRuns(rows));
  RowNumbers order;
  order.reserve(rows.rows.size());
  while (order.size() < rows.rows.size()) {
    Run& run = all.runs[all.winner];
    order.push_back(run.number);
    if (++run.number < run.end) {
      Enter(run, rows.rows[run.number]);
    } else {
      run.time = run.id = ~std::uint64_t{0};
      run.rank = kEnded;
    }
    PlayAgain(all);
  }
  return order;
}

}  // namespace tarnlex
