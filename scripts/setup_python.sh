#!/usr/bin/env bash
# Installs the Python packages of the tests into build/python. If they are there it does nothing, prints nothing and needs
# no network. The tests do without them: a registry that cannot be reached is no failure.
set -euo pipefail
cd "$(dirname "$0")/.."

packages=(pyarrow==17.0.0 numpy==1.26.4)  # tests/columns/arrow_test.py

# The folder has the list of its packages, so that another list installs anew.
[ "$(cat build/python/packages 2>/dev/null)" != "${packages[*]}" ] || exit 0

echo "setup: installing ${packages[*]} into build/python"
if python3 -m venv build/python &&
  build/python/bin/pip --quiet --disable-pip-version-check install --retries 1 "${packages[@]}"; then
  echo "${packages[*]}" >build/python/packages
else
  echo "setup: the registry of Python packages cannot be reached: the tests that need them are skipped" >&2
fi
