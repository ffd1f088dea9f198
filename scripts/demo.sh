#!/bin/sh
# Builds the program, but no test, and shows what it makes of a log: the plain table, a report and CSV.
# usage: demo.sh [LOG]   (default: a sample log, written to build/demo)
set -eu
root=$(cd "$(dirname "$0")/.." && pwd)
log=${1:-}
[ -z "$log" ] || log=$(realpath "$log")
cd "$root"

scripts/install_packages.sh build
mkdir -p build
said=build/demo.txt
needed="tarnlex"
[ -n "$log" ] || needed="tarnlex make_sample_log"
# shellcheck disable=SC2086
{ cmake --preset release && cmake --build --preset release -j "$(nproc)" --target $needed; } \
  >"$said" 2>&1 || { cat "$said" >&2; exit 1; }
sample=build/demo/Security.evtx
[ -n "$log" ] || build/release/tests/make_sample_log build/demo

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

show -log "${log:-$sample}" -quiet
show -log "${log:-$sample}" -csv -quiet
# The reports have rows for logs of their kind only, so they are shown over the sample.
[ -n "$log" ] || show -log "$sample" -logon -csv -quiet
