#!/usr/bin/env bash
# Builds a wheel of the Python package for the Python of build/python, linked to the libraries of this system. Argument:
# the folder for it, which is emptied. The objects stay in build/wheel for the next time.
set -euo pipefail
cd "$(dirname "$0")/.."

out=${1:?a folder}
# The name by which CMake calls the compiler: the compiler cache knows the library's objects by it.
export CXX=${CXX:-c++}
rm -rf "$out"
mkdir -p build/wheel "$out"
if ! build/python/bin/pip --quiet --disable-pip-version-check wheel --no-index --no-deps --no-build-isolation ./python \
  --wheel-dir "$out" --config-settings=build-dir="$PWD/build/wheel/objects" \
  --config-settings=cmake.define.DATASRC_WERROR=ON >build/wheel/log 2>&1; then
  tail -n 60 build/wheel/log >&2
  exit 1
fi
