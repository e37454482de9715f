#!/usr/bin/env bash
# Sets up, builds and runs every kind of test: the tests of each preset, then every fuzz target for a limited time.
# The last lines are the names of what failed and the result: "N passed, N failed".
#
# The tests read the sample files in tests/samples; DATASRC_SAMPLES names another folder.
set -euo pipefail
cd "$(dirname "$0")/.."

presets=(release asan tsan)  # with tsan only the tests that have threads; asan has the fuzz targets, too
fuzz_seconds=60              # of one core, for all targets together
samples=${DATASRC_SAMPLES:-$PWD/tests/samples}
if [ ! -d "$samples" ]; then
  echo "test: no sample files in $samples; put them there, or name their folder in DATASRC_SAMPLES" >&2
  exit 1
fi
samples=$(cd "$samples" && pwd)

scripts/setup.sh
scripts/setup_python.sh &  # the tests of the first preset are the first to need it
python_setup=$!
passed=0
failures=()  # "PRESET: TEST"

headline() { echo "== $1, after $SECONDS s"; }

# Arguments: a preset, and further options for CMake.
build() {
  headline "$1: build"
  cmake --preset "$@" --log-level=WARNING
  cmake --build --preset "$1"
}

run_tests() {
  headline "$1: test"
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

# Finds are kept in build/fuzz/found; the corpus itself is only read.
found=build/fuzz/found

run_fuzz_target() {
  local name=${1##*/fuzz_}
  local corpus=fuzz/corpus/$name inputs=("$found/$name" "$samples")
  [ ! -d "$corpus" ] || inputs+=("$corpus")
  mkdir -p "$found/$name"
  "$1" -max_total_time="$2" -timeout=10 -artifact_prefix="$found/$name-" "${inputs[@]}" >"$found/$name.log" 2>&1
}

# Runs the targets at once. The output of one is shown only after a find.
run_fuzz_targets() {
  local seconds=$1 target name pids=() i
  shift
  for target in "$@"; do
    run_fuzz_target "$target" "$seconds" &
    pids+=($!)
  done
  for ((i = 0; i < $#; ++i)); do
    target=${@:i + 1:1}
    name=${target##*/fuzz_}
    if wait "${pids[i]}"; then
      passed=$((passed + 1))
      echo "fuzz: $name: $(tail -n 1 "$found/$name.log")"
    else
      failures+=("fuzz: $name")
      tail -n 60 "$found/$name.log"
    fi
  done
}

for preset in "${presets[@]}"; do
  build "$preset" -DDATASRC_SAMPLES="$samples"
  wait "$python_setup"
  run_tests "$preset"
done

headline "fuzz"
targets=(build/asan/bin/fuzz_*)
cores=$(nproc)
for ((first = 0; first < ${#targets[@]}; first += cores)); do
  run_fuzz_targets $((fuzz_seconds / ${#targets[@]})) "${targets[@]:first:cores}"
done

for failure in "${failures[@]}"; do echo "failed: $failure"; done
headline "done"
echo "$passed passed, ${#failures[@]} failed"
[ ${#failures[@]} -eq 0 ]
