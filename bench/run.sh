#!/bin/sh
# Whole-process times of the program next to other readers and to plain copying, on the same logs in
# the same run. Everything lies in memory, so that no disk is measured.
# usage: bench/run.sh [EVTX [EVT [SIZE_MB [RUNS [FOLDER]]]]]
#   EVTX, EVT  logs whose chunks and records are repeated (default: the sample logs)
#   SIZE_MB    size of the EVTX log that is read, at least 100 (default: 128)
#   RUNS       of each command, of which the median counts (default: 5)
#   FOLDER     of EVTX logs, whose chunks are shuffled into a log of all kinds (default: the sample
#              logs)
# EVTX_DUMP names a program to compare with that is no Debian package ("cargo install evtx"); found
# on the PATH by itself.
set -eu
root=$(cd "$(dirname "$0")/.." && pwd)
evtx=${1:-}
evt=${2:-}
size=${3:-128}
runs=${4:-5}
folder=${5:-}
[ -z "$evtx" ] || evtx=$(realpath "$evtx")
[ -z "$evt" ] || evt=$(realpath "$evt")
[ -z "$folder" ] || folder=$(realpath "$folder")
[ "$size" -ge 100 ] || { echo "bench: $size MB are too few to time; at least 100" >&2; exit 2; }
evtx_dump=${EVTX_DUMP:-$(command -v evtx_dump || true)}
cd "$root"

scripts/install_packages.sh build test bench
cmake --preset release >/dev/null
cmake --build --preset release -j "$(nproc)" >/dev/null

work=$(mktemp -d /dev/shm/tarnlex-bench-XXXXXX)
trap 'rm -rf "$work"' EXIT
trap 'exit 1' INT TERM
build/release/tests/make_sample_log "$work/sample"
[ -n "$evtx" ] || evtx=$work/sample/Security.evtx
[ -n "$evt" ] || evt=$work/sample/SysEvent.Evt
large() { build/release/tests/make_large_log "$@"; }
log=$work/Security.evtx
large "$evtx" "$log" "$size"
program=build/release/tarnlex
dump="$program -quiet -csv -out $work/rows.csv"

# measure NAME COMMAND...: the median of the command's wall time in seconds; kept under the name.
measure() {
  name=$1
  shift
  hyperfine --warmup 1 --runs "$runs" --style none --export-csv "$work/time" "$@" >/dev/null 2>&1
  median=$(awk -F, 'NR == 2 { print $(NF - 4) }' "$work/time")
  eval "time_$name=$median"
}
# ratio TEXT A B: A / B of two times.
ratio() { awk -v text="$1" -v a="$2" -v b="$3" 'BEGIN { printf "%-66s %8.2f\n", text, a / b }'; }
seconds() { awk -v text="$1" -v t="$2" 'BEGIN { printf "%-66s %8.3f s\n", text, t }'; }

sed -n 's/^model name[^:]*: //p' /proc/cpuinfo | head -n 1
echo "log: $(wc -c <"$log") bytes; $runs runs each, medians"

echo "-- every value of every record as CSV"
measure full "$dump -log $log >/dev/null"
seconds "tarnlex" "$time_full"
# A time counts only when the work was done: as many rows as events that another reader finds. That
# reader is slow, so it gets a smaller log, and the program the same.
large "$evtx" "$work/small.evtx" 16
measure small "$dump -log $work/small.evtx >/dev/null"
measure evtxexport "evtxexport -f xml $work/small.evtx >$work/export"
events=$(grep -c '^<Event ' "$work/export" || true)
rows=$(grep -c '^ *[0-9]' "$work/rows.csv" || true)
if [ "$events" -eq 0 ] || [ "$rows" -lt "$events" ]; then
  echo "bench: $rows rows of $events events, the times mean nothing" >&2
  exit 1
fi
ratio "evtxexport -f xml / tarnlex, 16 MiB" "$time_evtxexport" "$time_small"
[ -z "$evtx_dump" ] || measure crate "$evtx_dump -t 1 -o jsonl $log >$work/export"
measure full "$dump -log $log >/dev/null"  # side by side: the machine's pace changes
[ -z "$evtx_dump" ] || ratio "evtx_dump -t 1 -o jsonl / tarnlex" "$time_crate" "$time_full"
measure copy "cp $log $work/copy; cat $work/rows.csv | wc -c"
ratio "tarnlex / (cp of the log, wc -c of the rows)" "$time_full" "$time_copy"
rm -f "$work/copy" "$work/export"

echo "-- every form, on the log and on one of all kinds of events; in turn, $size MiB each"
[ -n "$folder" ] || folder=$work/sample
build/release/tests/make_mixed_log "$folder" "$work/Mixed.evtx" "$size"
# form OPTIONS: as an argument of bench/ratios.py.
form() { echo "$1=exec $program -log $forms_log -quiet $1 >\$OUT 2>/dev/null"; }
for forms_log in "$log" "$work/Mixed.evtx"; do
  echo "$(basename "$forms_log"):"
  if [ -n "$evtx_dump" ]; then
    bench/ratios.py "$runs" evtx_dump "evtx_dump=exec $evtx_dump -t 1 -o jsonl $forms_log >\$OUT 2>/dev/null" \
      "$(form -csv)" "$(form '-csvgen -complete')" "$(form -json)" "$(form -event_json)" "$(form -event_xml)"
  else
    bench/ratios.py "$runs" -csv "$(form -csv)" "$(form '-csvgen -complete')" "$(form -json)" \
      "$(form -event_json)" "$(form -event_xml)"
  fi
  # Few records are of these, whatever the log: an identifier of a failed logon by an expired account,
  # and a text that no number, date or identifier can hold.
  bench/ratios.py "$runs" -csv "$(form -csv)" "$(form '-csv -eventid 532')" "$(form '-csv -string mimikatz')"
done

echo "-- peak memory, and the text that is written"
# peak COMMAND...: in KiB. A process begins with the peak of the one that started it, so that has to
# be a small one.
peak() {
  env time -f %M -o "$work/peak" "$@" >/dev/null 2>&1
  cat "$work/peak"
}
for forms_log in "$log" "$work/Mixed.evtx"; do
  for options in "" -csv "-csvgen -complete" -csvl2t "-bodyfile -allparams" -json -event_json -event_xml; do
    # shellcheck disable=SC2086 # several options
    kib=$(peak "$program" -log "$forms_log" -quiet $options -out "$work/form")
    awk -v name="$(basename "$forms_log") ${options:-table}" -v peak="$kib" -v text="$(wc -c <"$work/form")" \
      'BEGIN { printf "%-50s peak %6.1f MiB, text %6.1f MiB\n", name, peak / 1024, text / 1048576 }'
  done
done
rm -f "$work"/form* "$work/export" "$work/Mixed.evtx"

echo "-- selective queries: full dump / query"
awk 'BEGIN { for (i = 0; i < 500; ++i)
  printf "!cmd, -enum_evtxlog, -id, %d, -name, n%d, -pull, TargetUserName\n", 4720 + 5 * i, i }' \
  >"$work/report.txt"
query() {
  measure query "$program -quiet -csv -out $work/query.csv -log $log $2 >/dev/null"
  ratio "$1: $(grep -c '^[0-9]' "$work/query.csv") rows" "$time_full" "$time_query"
}
query "-eventid 4720" "-eventid 4720"
query "-logon" "-logon"
# The window is around the last event of the log.
last=$(cut -d, -f3,4 "$work/rows.csv" | grep -o '^[0-9/]*, *[0-9:]*' | sort -t/ -k3,3 -k1,1 -k2,2 |
  tail -n 1)
query "a window of a day, the log's last" "-start_time '${last%%,*} 00:00:00' -stop_time '${last%%,*} 23:59:59'"
query "a command file of 500 lines" "-cmdfile $work/report.txt"

echo "-- EVT"
large "$evt" "$work/System.Evt" 64
measure evt "$dump -log $work/System.Evt >/dev/null"
seconds "tarnlex, 64 MiB" "$time_evt"
for megabytes in 4 16; do
  large "$evt" "$work/small.Evt" "$megabytes"
  measure small "$dump -log $work/small.Evt >/dev/null"
  measure evtexport "evtexport -m all $work/small.Evt >$work/export"
  ratio "evtexport -m all / tarnlex, $megabytes MiB" "$time_evtexport" "$time_small"
done

echo "-- 1,000 logs of a chunk each through -pipe"
large "$evtx" "$work/one.evtx" 1
head -c 69632 "$work/one.evtx" >"$work/chunk.evtx"
for i in $(seq 1000); do
  mkdir "$work/$i"
  cp "$work/chunk.evtx" "$work/$i/Security.evtx"
  echo "$work/$i/Security.evtx"
done >"$work/list"
large "$work/chunk.evtx" "$work/thousand.evtx" 63  # 1,008 times the same chunk
measure pipe "$dump -pipe <$work/list >/dev/null"
measure thousand "$dump -log $work/thousand.evtx >/dev/null"
awk -v a="$time_pipe" -v b="$time_thousand" \
  'BEGIN { printf "%-66s %8.3f ms\n", "a log, above the same chunks in one log", a - b }'

echo "-- cost and memory by size"
for megabytes in 10 100 238 1000; do
  large "$evtx" "$work/size.evtx" "$megabytes"
  measure size "$dump -log $work/size.evtx >/dev/null"
  # shellcheck disable=SC2086 # a command
  kib=$(peak $dump -log "$work/size.evtx")
  awk -v size="$megabytes" -v time="$time_size" -v peak="$((kib / 1024))" -v rows="$(wc -c <"$work/rows.csv")" \
    'BEGIN { printf "%4d MiB: %7.3f s, peak %4d MiB, rows %4d MiB\n", size, time, peak, rows / 1048576 }'
done
