#!/bin/sh
# Builds the program and shows what it makes of a log: the plain table, a report and CSV.
# usage: demo.sh [LOG]   (default: a sample log, written to build/demo)
set -eu
root=$(cd "$(dirname "$0")/.." && pwd)
log=${1:-}
[ -z "$log" ] || log=$(realpath "$log")
cd "$root"

scripts/install_packages.sh build test
cmake --preset release >/dev/null
cmake --build --preset release -j "$(nproc)" >/dev/null
if [ -z "$log" ]; then
  build/release/tests/make_sample_log build/demo
  log=build/demo/Security.evtx
fi

show() {
  printf '\n$ tarnlex'
  printf ' "%s"' "$@"
  printf '\n'
  output=$(build/release/tarnlex "$@") || { echo "demo.sh: tarnlex ended with $?" >&2; exit 1; }
  [ -n "$output" ] || { echo "demo.sh: tarnlex wrote nothing" >&2; exit 1; }
  printf '%s\n' "$output" | cut -c1-200 | head -n 25
  lines=$(printf '%s\n' "$output" | wc -l)
  [ "$lines" -le 25 ] || echo "... $((lines - 25)) more lines"
}

show -log "$log" -quiet
show -log "$log" -logon -csv -quiet
show -log "$log" -csv -quiet
