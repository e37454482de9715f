#!/usr/bin/env bash
# Builds the coverage preset, runs its C++ tests, and prints how many lines and branches of each source they take. The
# arguments are sources or folders; without any: the readers of the records, the stream layer and the cipher.
#
# A branch is one outcome of one condition. The edges on which exceptions leave are not counted. The profile is written
# while a test runs, so what a process takes on its way into an assertion counts too.
#
# Needs llvm-19 for llvm-profdata-19 and llvm-cov-19; scripts/setup.sh does not install it.
set -euo pipefail
cd "$(dirname "$0")/.."

programs=(unit_tests golden_tests property_tests fault_tests outofmemory_tests threads_tests platform_stream_tests
          platform_cipher_tests)
[ $# -gt 0 ] ||
  set -- Datasource/src/systemfile/DictionaryReader.cpp Datasource/src/systemfile/records Platform/stream Platform/cipher
build=$PWD/build/coverage
profiles=$build/profiles
for tool in llvm-profdata-19 llvm-cov-19; do
  command -v $tool >/dev/null || { echo "coverage: $tool is missing; the package llvm-19 has it" >&2; exit 1; }
done

scripts/setup.sh
cmake --preset coverage --log-level=WARNING
cmake --build --preset coverage --target "${programs[@]}"
rm -rf "$profiles"
objects=("$build/bin/${programs[0]}")  # the first one stands before the others, without an option
for program in "${programs[@]}"; do
  LLVM_PROFILE_FILE=$profiles/%p-%m%c.profraw "$build/bin/$program" --gtest_brief=1
  objects+=("-object=$build/bin/$program")
done
llvm-profdata-19 merge -sparse -o "$build/coverage.profdata" "$profiles"/*.profraw
llvm-cov-19 report "${objects[@]}" -instr-profile="$build/coverage.profdata" -show-region-summary=false \
  -ignore-filename-regex=/tests/ "$@"
