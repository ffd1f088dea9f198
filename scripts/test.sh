#!/bin/sh
# Builds the release preset and runs all tests. With TARNLEX_LOGS naming a folder of real logs, the
# tests over those run too; they are reported as skipped otherwise. The Windows program is built and
# tested where mingw and wine64 are installed; TARNLEX_WINDOWS_TESTS=REQUIRED fails where they are not.
set -eu
cd "$(dirname "$0")/.."
preset=${1:-release}

scripts/install_packages.sh build test
cmake --preset "$preset" \
  ${TARNLEX_WINDOWS_TESTS:+-DTARNLEX_WINDOWS_TESTS="$TARNLEX_WINDOWS_TESTS"}
cmake --build --preset "$preset" -j "$(nproc)"
ctest --preset "$preset" -j "$(nproc)"
