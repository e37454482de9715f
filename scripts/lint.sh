#!/usr/bin/env bash
# Runs clang-tidy (.clang-tidy says which checks) over the sources of the release build, or of the files named.
set -euo pipefail
cd "$(dirname "$0")/.."

scripts/setup.sh
cmake --preset release --log-level=WARNING
[ $# -gt 0 ] || set -- $(git ls-files "Platform/*.cpp" "Datasource/*.cpp" "tools/*.cpp" "examples/*.cpp" | grep -v /tests/)
# The build is g++'s: some of its warning flags are unknown to clang.
printf '%s\0' "$@" |
  xargs -0 -n 1 -P "$(nproc)" clang-tidy-19 -p build/release --quiet --extra-arg=-Wno-unknown-warning-option
