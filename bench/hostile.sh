#!/bin/sh
# What logs of 64 KiB that were made to be dear cost the program: processor time of the whole process
# in milliseconds and peak memory in MiB, for every crafted log of the tests in every form of output.
# usage: bench/hostile.sh [RUNS [PROGRAM]]
#   RUNS     of each, of which the quickest counts (default: 5)
#   PROGRAM  default: the release build
set -eu
root=$(cd "$(dirname "$0")/.." && pwd)
runs=${1:-5}
program=${2:-$root/build/release/tarnlex}
program=$(realpath -m "$program")
cd "$root"

scripts/install_packages.sh build test
cmake --preset release >/dev/null
cmake --build --preset release -j "$(nproc)" --target tarnlex measure_crafted >/dev/null

work=$(mktemp -d /dev/shm/tarnlex-hostile-XXXXXX)
trap 'rm -rf "$work"' EXIT
trap 'exit 1' INT TERM
sed -n 's/^model name[^:]*: //p' /proc/cpuinfo | head -n 1
build/release/tests/measure_crafted "$program" "$work" "$runs"
