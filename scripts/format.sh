#!/usr/bin/env bash
# Formats every C and C++ file that git tracks as .clang-format says.
set -euo pipefail
cd "$(dirname "$0")/.."

git ls-files -z '*.h' '*.c' '*.cpp' | xargs -0r clang-format -i
