#!/bin/sh
# Checks that a release can be built by a compiler that warns of more than ours, and that the presets
# for development and TARNLEX_WERROR stop there. A macro defined twice stands in for the new warning.
set -eu
cd "$(dirname "$0")/.."
place=build/check_warnings

fail() { echo "check_warnings.sh: $1" >&2; exit 1; }

# compiles PRESET [OPTION]: whether the smallest source passes with the warning.
compiles() {
  rm -rf "$place"
  cmake --preset "$@" -B "$place" -DTARNLEX_TESTS=OFF -DCMAKE_CXX_FLAGS="-DNEW -DNEW=2" >/dev/null
  cmake --build "$place" --target CMakeFiles/tarnlex.dir/app/main.cpp.o >"$place/said" 2>&1
  result=$?
  grep -q '"NEW" redefined' "$place/said" || fail "$* was built without the warning"
  return "$result"
}

compiles release || fail "a release is not built where the compiler warns"
! compiles release -DTARNLEX_WERROR=ON || fail "TARNLEX_WERROR does not stop at warnings"
for preset in debug asan; do
  ! compiles "$preset" || fail "the preset $preset does not stop at warnings"
done
echo "warnings checked"
