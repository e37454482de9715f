#!/usr/bin/env bash
# Builds a wheel of the Python package that needs only Linux: OpenSSL, ICU and the rest are in it. Tries it in a new virtual
# environment, where none of these libraries can be found. Prints its path and its size.
set -euo pipefail
cd "$(dirname "$0")/.."

scripts/setup.sh
scripts/setup_python.sh
[ -f build/python/packages ] || exit 1
scripts/build_wheel.sh build/wheel/raw
rm -rf build/wheel/repaired build/wheel/venv
# ICU's data have only what the library uses.
scripts/icu_data.sh build/wheel/icu
PATH=$PWD/build/python/bin:$PATH LD_LIBRARY_PATH=$PWD/build/wheel/icu build/python/bin/auditwheel repair \
  build/wheel/raw/*.whl --wheel-dir build/wheel/repaired >build/wheel/auditwheel.log 2>&1 ||
  { cat build/wheel/auditwheel.log >&2; exit 1; }

python3 -m venv build/wheel/venv
build/wheel/venv/bin/pip --quiet --disable-pip-version-check install --no-index build/wheel/repaired/*.whl
build/wheel/venv/bin/python -B python/tests/smoke.py "${DATASRC_SAMPLES:-tests/samples}"
du -h --apparent-size build/wheel/repaired/*.whl
