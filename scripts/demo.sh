#!/usr/bin/env bash
# Sets up, builds the release and runs the tool on a small file.
set -euo pipefail
cd "$(dirname "$0")/.."

scripts/setup.sh
cmake --preset release --log-level=WARNING
cmake --build --preset release --target datasrc_tool

show() {
  printf '\n$ %s\n\n' "$*"
  PATH=build/release/bin:$PATH "$@"
}
show datasrc info examples/penguins.quav
show datasrc cat examples/penguins.quav --format table --rows :10
show datasrc cat examples/penguins.quav --format csv --labels --rows 150:155
