#!/usr/bin/env bash
# Builds the release and runs all benchmarks. Each gets the arguments of this script (--benchmark_filter=...).
set -euo pipefail
cd "$(dirname "$0")/.."

scripts/setup.sh
cmake --preset release --log-level=WARNING
cmake --build --preset release
for bench in build/release/bin/bench_*; do
  printf '\n== %s\n' "${bench##*/}"
  "$bench" "$@"
done
