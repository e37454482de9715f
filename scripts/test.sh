#!/usr/bin/env bash
# Sets up, builds and runs every kind of test: the tests of each preset, then every fuzz target for a limited time.
# The last lines are the names of what failed and the result: "N passed, N failed".
#
# The tests read the sample files in tests/samples; DATASRC_SAMPLES names another folder.
set -euo pipefail
cd "$(dirname "$0")/.."

presets=(release asan tsan)  # with tsan only the tests that have threads; asan has the fuzz targets, too
fuzz_seconds=60              # for all targets together
samples=${DATASRC_SAMPLES:-$PWD/tests/samples}
if [ ! -d "$samples" ]; then
  echo "test: no sample files in $samples; put them there, or name their folder in DATASRC_SAMPLES" >&2
  exit 1
fi
samples=$(cd "$samples" && pwd)

scripts/setup.sh
scripts/setup_python.sh
passed=0
failures=()  # "PRESET: TEST"

# Arguments: a preset, and further options for CMake.
build() {
  echo "== $1: build"
  cmake --preset "$@" --log-level=WARNING
  cmake --build --preset "$1"
}

run_tests() {
  echo "== $1: test"
  local log=build/$1/ctest.log counts names name
  ctest --preset "$1" --no-tests=error | tee "$log" || true
  # "98% tests passed, 2 tests failed out of 102"
  counts=$(sed -nE 's/^[0-9]+% tests passed, ([0-9]+) tests? failed out of ([0-9]+)$/\1 \2/p' "$log")
  [ -n "$counts" ] || { echo "test: ctest came to no result under $1" >&2; exit 1; }
  passed=$((passed + ${counts#* } - ${counts% *}))
  # "	 23 - unit_tests (Failed)"; a skipped test is none
  mapfile -t names < <(sed -nE '/\(Skipped\)/d; s/^[[:space:]]+[0-9]+ - ([^ ]+) \(.*$/\1/p' "$log")
  for name in "${names[@]}"; do failures+=("$1: $name"); done
}

# Finds are kept in build/fuzz/found; the corpus itself is only read. The output is shown only after a find.
run_fuzz_target() {
  local name=${1##*/fuzz_} found=build/fuzz/found log
  local corpus=fuzz/corpus/$name inputs=("$found/$name" "$samples")
  [ ! -d "$corpus" ] || inputs+=("$corpus")
  mkdir -p "$found/$name"
  log=$found/$name.log
  echo "== fuzz: $name for $2 s"
  if "$1" -max_total_time="$2" -timeout=10 -artifact_prefix="$found/$name-" "${inputs[@]}" >"$log" 2>&1; then
    passed=$((passed + 1))
    tail -n 1 "$log"
  else
    failures+=("fuzz: $name")
    tail -n 60 "$log"
  fi
}

for preset in "${presets[@]}"; do
  build "$preset" -DDATASRC_SAMPLES="$samples"
  run_tests "$preset"
done

targets=(build/asan/bin/fuzz_*)
for target in "${targets[@]}"; do run_fuzz_target "$target" $((fuzz_seconds / ${#targets[@]})); done

for failure in "${failures[@]}"; do echo "failed: $failure"; done
echo "$passed passed, ${#failures[@]} failed"
[ ${#failures[@]} -eq 0 ]
