#!/usr/bin/env bash
# Formats every C++ file that git tracks as .clang-format says.
set -euo pipefail
cd "$(dirname "$0")/.."

git ls-files -z '*.h' '*.cpp' | xargs -0r clang-format -i
