#!/bin/sh
# Builds the release preset and runs all tests. With TARNLEX_LOGS naming a folder of real logs, the
# tests over those run too; they are reported as skipped otherwise. The Windows program is built and
# tested where mingw and wine64 are installed, and every command in the documents is run where its tools
# are, and the package for Python is tested where its tools can be had; TARNLEX_WINDOWS_TESTS=REQUIRED,
# TARNLEX_DOCS_TESTS=REQUIRED and TARNLEX_PYTHON_TESTS=REQUIRED fail where they are not.
# TARNLEX_WERROR=ON stops at warnings, as the presets for development do.
# usage: test.sh [PRESET]
#        test.sh desk    what takes long of the package for Python: its wheel, Spark (456 MB to download)
set -eu
cd "$(dirname "$0")/.."
preset=${1:-release}

if [ "$preset" = desk ]; then
  scripts/install_packages.sh build test desk
  cmake --preset release >/dev/null
  cmake --build --preset release -j "$(nproc)" --target tarnlex make_sample_log
  exec python/tests/run.sh desk "$PWD/build/desk_tools" python3
fi

scripts/install_packages.sh build test
cmake --preset "$preset" \
  ${TARNLEX_WINDOWS_TESTS:+-DTARNLEX_WINDOWS_TESTS="$TARNLEX_WINDOWS_TESTS"} \
  ${TARNLEX_DOCS_TESTS:+-DTARNLEX_DOCS_TESTS="$TARNLEX_DOCS_TESTS"} \
  ${TARNLEX_PYTHON_TESTS:+-DTARNLEX_PYTHON_TESTS="$TARNLEX_PYTHON_TESTS"} \
  ${TARNLEX_WERROR:+-DTARNLEX_WERROR="$TARNLEX_WERROR"}
cmake --build --preset "$preset" -j "$(nproc)"
ctest --preset "$preset" -j "$(nproc)"
