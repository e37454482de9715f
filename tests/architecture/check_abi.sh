#!/usr/bin/env bash
# Compares the binary interface of the library with that of the last release: the layout of the types in the installed
# headers, and the functions. Fails on a change that a program built with that release would notice. What is only added
# is no such change.
#
#   check_abi.sh SOURCE_DIR BUILD_DIR [--write]
#
# Builds the library a second time, below BUILD_DIR, because the tools read full debug information. Needs abigail-tools.
# With --write, stores the present interface in interface.abi.xz: do this for a release, and for a version that breaks
# programs, with another SONAME (CMakeLists.txt).
set -euo pipefail
kept=$(cd "$(dirname "$0")" && pwd)/interface.abi.xz
source=$1 build=$2 mode=${3:-}
for tool in abidw abidiff xz; do
  command -v $tool >/dev/null || { echo "check_abi: $tool is missing; scripts/setup.sh installs it" >&2; exit 1; }
done
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT

cmake --install "$build" --component development --prefix "$scratch/installed" >"$scratch/install.log"
cmake -G Ninja -S "$source" -B "$build/abi" -DCMAKE_BUILD_TYPE=Debug -DCMAKE_CXX_FLAGS_DEBUG="-O0 -g" \
  -DDATASRC_QUICK_COMPILE=ON -DDATASRC_TESTS=OFF -DDATASRC_EXAMPLES=OFF -DDATASRC_TOOL=OFF --log-level=WARNING
cmake --build "$build/abi" --target datasrc >"$scratch/build.log" || { cat "$scratch/build.log" >&2; exit 1; }

abidw --headers-dir "$scratch/installed/include/libdatasrc" --drop-private-types --exported-interfaces-only \
  --no-show-locs --no-corpus-path --no-comp-dir-path --no-parameter-names --no-write-default-sizes \
  --type-id-style hash --out-file "$scratch/interface.abi" "$build/abi/lib/libdatasrc.so"
if [ "$mode" = --write ]; then
  xz --stdout "$scratch/interface.abi" >"$kept"
  exit
fi
xz --decompress --stdout "$kept" >"$scratch/kept.abi"
if ! abidiff --no-added-syms "$scratch/kept.abi" "$scratch/interface.abi"; then
  echo "check_abi: programs of the last release would notice this; undo it, or raise the version in CMakeLists.txt and" \
    "run this with --write" >&2
  exit 1
fi
