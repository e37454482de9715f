#!/usr/bin/env bash
# Builds a wheel of the Python package for the Python of build/python, linked to the libraries of this system. Arguments:
# the folder for it, which is emptied; then, if the library is not to be compiled, the prefix of an installation with the
# static one. The objects stay in build/wheel for the next time.
set -euo pipefail
cd "$(dirname "$0")/.."

out=${1:?a folder}
prefix=${2:-}
rm -rf "$out"
mkdir -p build/wheel "$out"
if ! build/python/bin/pip --quiet --disable-pip-version-check wheel --no-index --no-deps --no-build-isolation ./python \
  --wheel-dir "$out" --config-settings=build-dir="$PWD/build/wheel/objects${prefix:+-installed}" \
  --config-settings=cmake.define.DATASRC_PREFIX="$prefix" --config-settings=cmake.define.DATASRC_WERROR=ON \
  >build/wheel/log 2>&1; then
  tail -n 60 build/wheel/log >&2
  exit 1
fi
