#!/bin/sh
# Runs the tests of the package for Python: the fast ones, or those that take long and download much.
# Ends with 77 where their tools cannot be had.
# usage: run.sh test|desk TOOLS_DIR PYTHON
set -eu
here=$(cd "$(dirname "$0")/.." && pwd)
tools=$2
"$here/tools.sh" "$1" "$tools" "$3"
case $1 in test) which="not slow" ;; *) which=slow ;; esac
cd "$here"
PYTHONPATH=src exec "$tools/bin/python" -m pytest -q -p no:cacheprovider -m "$which" --durations=5
