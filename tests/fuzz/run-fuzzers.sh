#!/usr/bin/env bash
# Builds the fuzz targets (build/fuzz, clang, libFuzzer with AddressSanitizer
# and UndefinedBehaviorSanitizer) and runs each on a copy of its seed corpus
# (tests/fuzz/corpus/<target>/), one after the other, then prints per target
# the executions, executions per second and findings. Any crash, leak,
# sanitizer report or timeout fails the run; the input that caused it is
# kept under build/fuzz/findings/.
# Usage: tests/fuzz/run-fuzzers.sh SECONDS [target ...]    each target SECONDS
#        tests/fuzz/run-fuzzers.sh --runs N [target ...]    each target N inputs
# Targets are named without the fuzz_ prefix (parse_json, import, ...).
set -euo pipefail
cd "$(dirname "$0")/../.."

usage() { echo "usage: $0 SECONDS|--runs N [target ...]" >&2; exit 2; }
[ $# -ge 1 ] || usage
if [ "$1" = "--runs" ]; then
  [ $# -ge 2 ] || usage
  limit=(-runs="$2")
  shift 2
else
  limit=(-max_total_time="$1")
  shift
fi

dir=build/fuzz
if [ ! -f "$dir/CMakeCache.txt" ]; then
  cmake -S . -B "$dir" -DCMAKE_BUILD_TYPE=Fuzz -DCORV_FUZZ=ON -DCMAKE_CXX_COMPILER=clang++-14 \
    >/dev/null
fi
cmake --build "$dir" -j "$(nproc)" --target fuzzers

targets=("$@")
if [ ${#targets[@]} -eq 0 ]; then
  for corpus in tests/fuzz/corpus/*/; do targets+=("$(basename "$corpus")"); done
fi

# The targets' temporary stores, and the corpora they grow, live in a
# directory of their own (in memory when /dev/shm is there: the stores sync
# on every commit), removed at the end.
base=/tmp
[ -d /dev/shm ] && [ -w /dev/shm ] && base=/dev/shm
work=$(mktemp -d "$base/corv-fuzz-XXXXXX")
trap 'rm -rf "$work"' EXIT
findings="$dir/findings"
mkdir -p "$findings"

# Stack use after return: a reference kept to a local of a returned
# function (an option bound to a variable of the function that built it).
# Runs counted in inputs (the long mode) leave that check out: the sanitizer
# walks its whole fake stack at every thrown exception, which makes targets
# that throw on most inputs five times slower (create_object: 650 inputs a
# second against 3 600). The timed runs CI makes keep it.
use_after_return=1
[[ "${limit[0]}" == -runs=* ]] && use_after_return=0
export ASAN_OPTIONS="detect_leaks=1:detect_stack_use_after_return=$use_after_return"
export UBSAN_OPTIONS="print_stacktrace=1:halt_on_error=1"
export TMPDIR="$work"
symbolizer=$(command -v llvm-symbolizer-14 || command -v llvm-symbolizer || true)
[ -n "$symbolizer" ] && export ASAN_SYMBOLIZER_PATH="$symbolizer"

status=0
summary=()
for target in "${targets[@]}"; do
  program="$dir/tests/fuzz/fuzz_$target"
  [ -x "$program" ] || { echo "no fuzz target $target" >&2; exit 2; }
  mkdir -p "$work/corpus/$target" "$work/artifacts"
  cp -r "tests/fuzz/corpus/$target/." "$work/corpus/$target/"
  log="$work/$target.log"
  echo "== fuzz_$target ${limit[*]}"
  start=$(date +%s)
  # -timeout: an input that takes seconds is a finding too. -max_len: larger
  # than every seed, small enough to keep inputs quick.
  if "$program" "${limit[@]}" -timeout=20 -rss_limit_mb=2048 -max_len=8192 -print_final_stats=1 \
      -artifact_prefix="$work/artifacts/$target-" "$work/corpus/$target" >"$log" 2>&1; then
    result=ok
  else
    result=FAILED
    status=1
    tail -n 60 "$log"
    cp "$work/artifacts/$target-"* "$findings/" 2>/dev/null || true
  fi
  seconds=$(( $(date +%s) - start ))
  execs=$(sed -n 's/^stat::number_of_executed_units: *//p' "$log" | tail -1)
  rate=$(sed -n 's/^stat::average_exec_per_sec: *//p' "$log" | tail -1)
  units=$(ls "$work/corpus/$target" | wc -l)
  found=$(ls "$work/artifacts" 2>/dev/null | grep -c "^$target-" || true)
  summary+=("$(printf '%-14s %12s %9s %7s %8s %9s  %s' "$target" "${execs:-?}" "${rate:-?}" \
    "$seconds" "$units" "$found" "$result")")
done

echo "== fuzz summary"
printf '%-14s %12s %9s %7s %8s %9s  %s\n' target executions exec/s seconds corpus findings result
printf '%s\n' "${summary[@]}"
[ $status -eq 0 ] || echo "findings kept in $findings/"
exit $status
