#!/bin/sh
# Compares what -complete gives of EVTX logs, value by value, with what two other readers see in them, and
# tests that this comparison finds what is wrong. One of the readers, the package "evtx" of PyPI, is put into
# build/readers when it is missing there.
# usage: compare_readers.sh TARNLEX [LOG]...   (default: all logs below the folder TARNLEX_LOGS)
set -eu
tree=$(dirname "$0")/..
readers=$tree/build/readers

"$tree/scripts/install_packages.sh" readers
if ! "$readers/bin/python" -c 'import evtx' 2>/dev/null; then
  /usr/bin/python3 -m venv "$readers"
  "$readers/bin/pip" install --quiet --disable-pip-version-check evtx==0.14.0
fi
"$readers/bin/python" "$tree/scripts/compare_readers.py" "$@"
"$readers/bin/python" "$tree/tests/scripts/compare_readers_test.py" "$@"
