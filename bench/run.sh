#!/bin/sh
# Whole-process time of writing a large log as CSV, next to another reader and to plain copying of
# the same bytes. Everything lies in memory, so that no disk is measured.
# usage: bench/run.sh [SOURCE.evtx [SIZE_MB [RUNS]]]
#   SOURCE   the log whose chunks are repeated (default: the sample log)
#   SIZE_MB  size of the log that is read, at least 100 (default: 128)
set -eu
root=$(cd "$(dirname "$0")/.." && pwd)
source=${1:-}
size=${2:-128}
runs=${3:-3}
[ -z "$source" ] || source=$(realpath "$source")
[ "$size" -ge 100 ] || { echo "bench: $size MB are too few to time; at least 100" >&2; exit 2; }
cd "$root"

scripts/install_packages.sh build test bench
cmake --preset release >/dev/null
cmake --build --preset release -j "$(nproc)" >/dev/null

work=$(mktemp -d /dev/shm/tarnlex-bench-XXXXXX)
trap 'rm -rf "$work"' EXIT
trap 'exit 1' INT TERM
if [ -z "$source" ]; then
  build/release/tests/make_sample_log "$work/sample"
  source=$work/sample/Security.evtx
fi
build/release/tests/make_large_log "$source" "$work/Security.evtx" "$size"

hyperfine --warmup 1 --runs "$runs" --export-csv "$work/times.csv" \
  --command-name tarnlex \
  "build/release/tarnlex -log $work/Security.evtx -csv -quiet -out $work/rows.csv >/dev/null" \
  --command-name evtxexport "evtxexport -f xml $work/Security.evtx >$work/export.xml" \
  --command-name cp "cp $work/Security.evtx $work/copy.evtx"

# A time counts only when the work was done: as many rows as events that the other reader found.
[ -s "$work/rows.csv" ] || { echo "bench: tarnlex wrote nothing" >&2; exit 1; }
rows=$(grep -c '^' "$work/rows.csv" || true)
events=$(grep -c '^<Event ' "$work/export.xml" || true)
bytes=$(wc -c <"$work/Security.evtx")
printf 'log: %s bytes, %s events; written: %s lines, %s bytes\n' \
  "$bytes" "$events" "$rows" "$(wc -c <"$work/rows.csv")"
if [ "$events" -eq 0 ] || [ "$rows" -lt "$events" ]; then
  echo "bench: fewer rows than events, the times mean nothing" >&2
  exit 1
fi
awk -F, -v bytes="$bytes" -v events="$events" '
  NR > 1 { mean[$1] = $2 }
  END {
    printf "tarnlex: %.0f MB/s, %.0f events/s\n", bytes / 1e6 / mean["tarnlex"],
      events / mean["tarnlex"]
    printf "evtxexport / tarnlex: %.2f\n", mean["evtxexport"] / mean["tarnlex"]
    printf "tarnlex / cp: %.2f\n", mean["tarnlex"] / mean["cp"]
  }' "$work/times.csv"
