#!/bin/sh
# Runs one fuzz target, or all of them, as many at a time as there are processors, for a number of
# seconds each. Inputs that find something new are kept in build/fuzz/corpus/TARGET; an input that
# fails is written to build/fuzz/findings and belongs, once its cause is fixed, into
# fuzz/regression/TARGET.
# usage: fuzz.sh TARGET|all SECONDS
set -eu
cd "$(dirname "$0")/.."
[ $# -eq 2 ] || { echo "usage: fuzz.sh TARGET|all SECONDS" >&2; exit 2; }
seconds=$2
jobs=$(nproc)

scripts/install_packages.sh build test fuzz
targets=$(basename -a fuzz/regression/*)
case " $(echo $targets) all " in
  *" $1 "*) [ "$1" = all ] || targets=$1 ;;
  *) echo "fuzz.sh: no target $1; there are:" $targets >&2; exit 2 ;;
esac
cmake --preset release >/dev/null
cmake --build --preset release -j "$jobs" --target make_seeds >/dev/null
cmake --preset fuzz >/dev/null
# shellcheck disable=SC2046
cmake --build --preset fuzz -j "$jobs" --target $(printf 'fuzz_%s ' $targets) >/dev/null
build/release/fuzz/make_seeds build/fuzz/seeds
mkdir -p build/fuzz/findings

# No 64 KiB may take long, and a log of a few chunks stays below what a run may ask for.
fuzz() {
  corpus=$PWD/build/fuzz/corpus/$1
  mkdir -p "$corpus"
  if ! nice -n 10 "build/fuzz/fuzz/fuzz_$1" -max_total_time="$seconds" -timeout=10 \
    -rss_limit_mb=1024 -max_len=140000 -print_final_stats=1 -verbosity=1 -reload=0 \
    -artifact_prefix="$PWD/build/fuzz/findings/$1-" \
    "$corpus" "$PWD/build/fuzz/seeds/$1" "$PWD/fuzz/regression/$1" >"build/fuzz/$1.log" 2>&1; then
    tail -n 40 "build/fuzz/$1.log"
    echo "fuzz.sh: $1 found something; see build/fuzz/findings" >&2
    return 1
  fi
  printf '%s: %s executions, %s\n' "$1" \
    "$(sed -n 's/^stat::number_of_executed_units: *//p' "build/fuzz/$1.log")" \
    "$(grep -o 'cov: [0-9]* ft: [0-9]*' "build/fuzz/$1.log" | tail -n 1)"
}

failed=0
running=""
wait_for_all() {
  for process in $running; do wait "$process" || failed=1; done
  running=""
}
for target in $targets; do
  fuzz "$target" &
  running="$running $!"
  [ "$(echo $running | wc -w)" -lt "$jobs" ] || wait_for_all
done
wait_for_all
exit "$failed"
