#!/bin/bash
# The way of a new golden case, as CONTRIBUTING.md tells it: a call without its result fails, the test
# writes the result, and then the case holds.
# usage: golden_loop.sh TARNLEX_TESTS
set -eu
tests=$1
place=$(mktemp -d)
trap 'rm -rf "$place"' EXIT
export TARNLEX_GOLDEN_FOLDER=$place
cat >"$place/starts.txt" <<'CASE'
# Starts of the system, by their identifier.
$ tarnlex -log SysEvent.Evt -eventid 12 -csvgen -quiet
CASE

run() { "$tests" --gtest_filter='*/starts' >"$place/log" 2>&1; }
fail() { cat "$place/log"; echo "golden_loop.sh: $1" >&2; exit 1; }

! run || fail "a case without a result holds"
UPDATE_GOLDEN=1 run || fail "the result could not be written"
grep -q '^1,12,11/02/2006, 07:00:00.000,info,' "$place/starts.txt" || fail "the result is not there"
run || fail "the case does not hold with its own result"
