#!/bin/sh
# Instructions that the program executes to write every value of every record as CSV: over 10 MiB of
# one security log, where the same few templates recur, and over 10 MiB of chunks of many logs in
# turn, as a collector holds them. They do not depend on how busy a machine is.
# usage: bench/instructions.sh [FOLDER [PROGRAM]]
#   FOLDER   of logs, with evtx/security.evtx (default: TARNLEX_LOGS, or else the sample logs)
#   PROGRAM  default: the release build
set -eu
root=$(cd "$(dirname "$0")/.." && pwd)
folder=${1:-${TARNLEX_LOGS:-}}
program=${2:-$root/build/release/tarnlex}
program=$(realpath "$program")
[ -z "$folder" ] || folder=$(realpath "$folder")
cd "$root"

scripts/install_packages.sh build test bench
cmake --preset release >/dev/null
cmake --build --preset release -j "$(nproc)" \
  --target tarnlex make_sample_log make_large_log make_mixed_log >/dev/null

work=$(mktemp -d /dev/shm/tarnlex-instructions-XXXXXX)
trap 'rm -rf "$work"' EXIT
trap 'exit 1' INT TERM
tools=build/release/tests
if [ -z "$folder" ]; then
  folder=$work/sample
  "$tools/make_sample_log" "$folder/evtx"
  mv "$folder/evtx/Security.evtx" "$folder/evtx/security.evtx"
fi
"$tools/make_large_log" "$folder/evtx/security.evtx" "$work/security.evtx" 10
"$tools/make_mixed_log" "$folder" "$work/mixed.evtx" 10

# count LOG: one line of the table. A run that fails or writes no rows has no count.
count() {
  valgrind --tool=callgrind --callgrind-out-file="$work/profile" \
    "$program" -csv -quiet -out "$work/rows" -log "$work/$1.evtx" >/dev/null 2>"$work/errors" ||
    { cat "$work/errors" >&2; return 1; }
  instructions=$(sed -n 's/^\(totals\|summary\): //p' "$work/profile" | head -n 1)
  rows=$(grep -c '^ *[0-9]' "$work/rows") || { echo "instructions: no rows of $1" >&2; return 1; }
  awk -v name="$1" -v rows="$rows" -v all="$instructions" -v size="$(wc -c <"$work/$1.evtx")" \
    'BEGIN { if (all + 0 == 0) exit 1
             printf "%-10s %9d %15.0f %15.0f\n", name, rows, all, all / (size / 1048576) }'
}

printf '%-10s %9s %15s %15s\n' log rows instructions "per MiB"
count security
count mixed
