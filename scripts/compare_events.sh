#!/bin/sh
# Compares -event_json and -event_xml of EVTX logs with what other readers make of them, and tests that a
# change of any one value is found. One of the readers, the package "evtx" of PyPI, is put into
# build/readers when it is missing there.
# usage: compare_events.sh TARNLEX LOG...
set -eu
tree=$(dirname "$0")/..
readers=$tree/build/readers

"$tree/scripts/install_packages.sh" readers
if ! "$readers/bin/python" -c 'import evtx' 2>/dev/null; then
  /usr/bin/python3 -m venv "$readers"
  "$readers/bin/pip" install --quiet --disable-pip-version-check evtx==0.14.0
fi
for script in compare_event_json.py compare_event_xml.py; do
  "$readers/bin/python" "$tree/scripts/$script" "$@"
  "$readers/bin/python" "$tree/scripts/$script" --self-test "$@"
done
