#!/bin/sh
# Puts the Python packages that the documents' commands use, and that Debian does not have, into a virtual
# environment, beside those that are installed. Ends with 77 where they cannot be had.
# usage: get_packages.sh PYTHON DIR
set -eu
python=$1
packages=$2

have() {
  "$packages/bin/python3" -c 'import duckdb, polars, six, timesketch_import_client.importer' 2>/dev/null &&
    "$packages/bin/python3" -c 'import jinja2, plotly, rich, sigma.backends.sqlite, yaml' 2>/dev/null
}
if have; then exit 0; fi
rm -rf "$packages"
"$python" -m venv --system-site-packages "$packages" &&
  "$packages/bin/pip" install --quiet --disable-pip-version-check --retries 1 \
    duckdb==2.0.0 polars==2.1.0 timesketch-import-client==20261014 six \
    jinja2==3.1.6 plotly==7.1.0 rich==15.0.0 pysigma==1.5.1 pysigma-backend-sqlite==2.0.0 \
    pysigma-pipeline-sysmon==2.0.0 pysigma-pipeline-windows==2.0.1 pyyaml==6.0.3 && have && exit 0
rm -rf "$packages"
echo "skipped: the packages cannot be had"
exit 77
