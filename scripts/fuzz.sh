#!/bin/sh
# Runs one fuzz target, or "all" of them one after another, for a number of seconds each. Inputs
# that find something new are kept in build/fuzz/corpus/TARGET; an input that fails is written to
# build/fuzz/findings and belongs, once its cause is fixed, into fuzz/regression/TARGET.
# usage: fuzz.sh TARGET|all SECONDS
set -eu
cd "$(dirname "$0")/.."
[ $# -eq 2 ] || { echo "usage: fuzz.sh TARGET|all SECONDS" >&2; exit 2; }
seconds=$2

scripts/install_packages.sh build test fuzz
cmake --preset release >/dev/null
cmake --build --preset release -j "$(nproc)" --target make_seeds >/dev/null
cmake --preset fuzz >/dev/null
targets=$(basename -a fuzz/regression/*)
[ "$1" = all ] || targets=$1
fuzzers=""
for target in $targets; do fuzzers="$fuzzers fuzz_$target"; done
# shellcheck disable=SC2086
cmake --build --preset fuzz -j "$(nproc)" --target $fuzzers >/dev/null
build/release/fuzz/make_seeds build/fuzz/seeds
mkdir -p build/fuzz/findings

for target in $targets; do
  corpus=$PWD/build/fuzz/corpus/$target
  mkdir -p "$corpus"
  # No 64 KiB may take long, and a log of a few chunks stays below what a run may ask for.
  nice -n 10 "build/fuzz/fuzz/fuzz_$target" -max_total_time="$seconds" -timeout=10 \
    -rss_limit_mb=1024 -max_len=140000 -print_final_stats=1 -verbosity=1 -reload=0 \
    -artifact_prefix="$PWD/build/fuzz/findings/$target-" \
    "$corpus" "$PWD/build/fuzz/seeds/$target" "$PWD/fuzz/regression/$target" \
    >"build/fuzz/$target.log" 2>&1 || {
    tail -n 40 "build/fuzz/$target.log"
    echo "fuzz.sh: $target found something; see build/fuzz/findings" >&2
    exit 1
  }
  printf '%s: %s executions, %s\n' "$target" \
    "$(sed -n 's/^stat::number_of_executed_units: *//p' "build/fuzz/$target.log")" \
    "$(grep -o 'cov: [0-9]* ft: [0-9]*' "build/fuzz/$target.log" | tail -n 1)"
done
