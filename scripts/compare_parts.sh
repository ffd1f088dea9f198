#!/bin/sh
# Whether the parts of each log, in any number from 1 to 64, joined are the lines that the whole log
# gives as JSON. Takes minutes: tests try a few numbers.
# usage: scripts/compare_parts.sh [PROGRAM] FOLDER
set -eu
[ $# -gt 1 ] || set -- "$(dirname "$0")/../build/release/tarnlex" "$@"
program=$(realpath "$1")
folder=$(realpath "$2")
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
trap 'exit 1' INT TERM

# compare LOG: a line for the log, with what differs.
cat >"$work/compare" <<'SCRIPT'
program=$1 log=$3
"$program" -log "$log" -json -quiet 2>/dev/null >"$2/whole.$$"
differ=
for parts in $(seq 64); do
  for part in $(seq "$parts"); do
    "$program" -log "$log" -json -quiet -part "$part/$parts" 2>/dev/null || echo "exit code $?"
  done | cmp -s - "$2/whole.$$" || differ="$differ $parts"
done
lines=$(wc -l <"$2/whole.$$")
rm "$2/whole.$$"
echo "$log: $lines lines${differ:+, differ in parts:$differ}"
SCRIPT

find "$folder" -type f \( -iname '*.evtx' -o -iname '*.evt' \) -print0 | sort -z |
  xargs -0 -P "$(nproc)" -n 1 sh "$work/compare" "$program" "$work" | tee "$work/all"
grep -q ': [1-9][0-9]* lines' "$work/all" || { echo "no log with records" >&2; exit 1; }
! grep 'differ in parts' "$work/all" >/dev/null
