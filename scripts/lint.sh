#!/usr/bin/env bash
# Runs clang-tidy on the sources of the release build, or on the files that are given. .clang-tidy has the checks.
set -euo pipefail
cd "$(dirname "$0")/.."

scripts/setup.sh
cmake --preset release --log-level=WARNING
[ $# -gt 0 ] || set -- $(git ls-files "Platform/*.cpp" "Datasource/*.cpp" "tools/*.cpp" "examples/*.cpp" | grep -v /tests/)
# The build uses g++: clang does not know some of its warning flags.
printf '%s\0' "$@" |
  xargs -0 -n 1 -P "$(nproc)" clang-tidy-19 -p build/release --quiet --extra-arg=-Wno-unknown-warning-option
