#!/bin/sh
# Puts packages of PyPI, each of a fixed version, into a virtual environment. Ends with 77 where they cannot be
# had.
#   package  what builds the wheel
#   test     what the tests take
#   desk     what the slow tests take beside that: Spark, 456 MB
# usage: tools.sh package|test|desk DIR [PYTHON]
set -eu
python=${3:-python3}

build="build==1.6.1 scikit-build-core==1.1.2 wheel==0.48.0"
test="duckdb==2.0.0 rich==15.0.0 pytest==9.2.0 ruff==0.17.6 mypy==2.4.1"
test="$test jinja2==3.1.6 plotly==7.1.0 pysigma==1.5.1 pysigma-backend-sqlite==2.0.0"
test="$test pysigma-pipeline-sysmon==2.0.0 pysigma-pipeline-windows==2.0.1 pyyaml==6.0.3"
test="$test types-PyYAML==6.0.12.20261113"
case $1 in
  package) wanted=$build ;;
  test) wanted=$test ;;
  desk) wanted="$build $test auditwheel==6.8.2 pyspark==4.3.0" ;;
  *) echo "tools.sh: no such set: $1" >&2; exit 1 ;;
esac

mark=$2/of
[ "$(cat "$mark" 2>/dev/null)" != "$wanted" ] || exit 0
# shellcheck disable=SC2086
"$python" -m venv "$2" &&
  "$2/bin/pip" install --quiet --disable-pip-version-check --retries 1 $wanted &&
  echo "$wanted" >"$mark" && exit 0
echo "skipped: the packages cannot be had"
exit 77
