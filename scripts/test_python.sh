#!/usr/bin/env bash
# Checks the types of the Python package, builds its wheel, installs it into build/python, and runs its tests. Arguments:
# the folder of the sample files, by default tests/samples; then those of pytest. DATASRC_BUILD may name a build folder
# with the static library, so that the wheel need not compile it. Returns 77 where scripts/setup_python.sh could not
# install what it needs.
set -euo pipefail
cd "$(dirname "$0")/.."

DATASRC_SAMPLES=$(realpath "${1:-tests/samples}")
export DATASRC_SAMPLES
shift || true
if [ ! -f build/python/packages ]; then
  echo "test_python: skipped: scripts/setup_python.sh has not installed the packages of the tests"
  exit 77
fi
build/python/bin/mypy --config-file python/pyproject.toml --cache-dir build/wheel/mypy python/datasrc
prefix=
if [ -n "${DATASRC_BUILD:-}" ]; then
  prefix=$PWD/build/wheel/library
  rm -rf "$prefix"
  for component in library development; do
    cmake --install "$DATASRC_BUILD" --component $component --prefix "$prefix" >/dev/null
  done
fi
scripts/build_wheel.sh build/wheel/tested "$prefix"
build/python/bin/pip --quiet --disable-pip-version-check install --no-index --no-deps --force-reinstall build/wheel/tested/*.whl

cd build/wheel  # the tests are of the installed package, so its folder must not be the present one
../python/bin/python -B -m pytest -p no:cacheprovider --quiet -rs ../../python/tests "$@"
