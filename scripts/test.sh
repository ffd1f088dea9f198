#!/bin/sh
# Builds the release preset and runs all tests. With TARNLEX_LOGS naming a folder of real logs, the
# tests over those run too; they are reported as skipped otherwise.
set -eu
cd "$(dirname "$0")/.."
preset=${1:-release}

scripts/install_packages.sh build test
cmake --preset "$preset"
cmake --build --preset "$preset" -j "$(nproc)"
ctest --preset "$preset"
