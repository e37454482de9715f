#!/usr/bin/env bash
# Builds the release and prints the tables of all benchmarks. Arguments go to each of them (--benchmark_filter=...).
set -euo pipefail
cd "$(dirname "$0")/.."

scripts/setup.sh
cmake --preset release --log-level=WARNING
cmake --build --preset release
for bench in build/release/bin/bench_*; do
  printf '\n== %s\n' "${bench##*/}"
  "$bench" "$@"
done
