#!/bin/sh
# What the package for Python is held to beside its tests: form, lint and types.
# usage: check.sh TOOLS_DIR PYTHON
set -eu
here=$(cd "$(dirname "$0")" && pwd)
tools=$1
"$here/tools.sh" test "$tools" "$2"
cd "$here"
"$tools/bin/ruff" format --quiet --no-cache --check .
"$tools/bin/ruff" check --quiet --no-cache .
"$tools/bin/mypy" --cache-dir /dev/null
