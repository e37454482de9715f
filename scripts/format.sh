#!/usr/bin/env bash
# Brings every C++ file that git tracks into the form of .clang-format.
set -euo pipefail
cd "$(dirname "$0")/.."

git ls-files -z '*.h' '*.cpp' | xargs -0r clang-format -i
