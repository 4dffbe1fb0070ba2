#!/usr/bin/env bash
# Builds the benchmarks and corvcfg (Release), runs every benchmark
# executable with JSON output and measures corvcfg on a store of 100 000
# instances, then prints the tables: each library operation beside its raw
# SQLite twin with the ratio library/raw, the memory a large result holds,
# and the command-line program. How to read them: docs/performance.md.
#
# Usage: scripts/bench.sh [FILTER]
#   FILTER  a Google Benchmark regular expression: only the matching cases
#           run; corvcfg is measured when the filter leaves a case of 100 000
#           instances of bench_reads, whose store it uses
# Environment:
#   BENCH_BUILD_DIR    build tree (default build/release)
#   BENCH_JOBS         parallel build jobs (default 1)
#   BENCH_REPETITIONS  repetitions of each case; medians are reported (default 3)
#   BENCH_MIN_TIME     minimum seconds of one repetition (default 0.2)
#   BENCH_CLI_RUNS     runs of each corvcfg command (default 3)
set -euo pipefail
cd "$(dirname "$0")/.."

build_dir="${BENCH_BUILD_DIR:-build/release}"
filter="${1:-.}"
executables=(bench_reads bench_writes bench_table_size bench_documents bench_validate
  bench_memory schema_lookup)

cmake -S . -B "$build_dir" -DCMAKE_BUILD_TYPE=Release >/dev/null
cmake --build "$build_dir" -j "${BENCH_JOBS:-1}" --target benchmarks corvcfg

results="$build_dir/bench-results"
rm -rf "$results"
mkdir -p "$results"
# bench_reads keeps its stores here for the corvcfg measurements.
store_dir="$results/store"
trap 'rm -rf "$store_dir"' EXIT

for executable in "${executables[@]}"; do
  echo "running $executable" >&2
  store_env=()
  if [ "$executable" = bench_reads ]; then store_env=(CORV_BENCH_DIR="$store_dir"); fi
  env "${store_env[@]}" "$build_dir/bench/$executable" \
    --benchmark_filter="$filter" \
    --benchmark_format=json \
    --benchmark_repetitions="${BENCH_REPETITIONS:-3}" \
    --benchmark_report_aggregates_only=true \
    --benchmark_min_time="${BENCH_MIN_TIME:-0.2}" >"$results/$executable.json"
done

if [ -f "$store_dir/large.db" ]; then
  echo "running corvcfg" >&2
  python3 scripts/bench_cli.py "$build_dir/tools/corvcfg" "$store_dir" "$results/cli.json" \
    "${BENCH_CLI_RUNS:-3}"
fi

echo "Machine: $(nproc) cores, $(grep -m1 'model name' /proc/cpuinfo | cut -d: -f2 | xargs)," \
  "kernel $(uname -r)"
python3 scripts/bench_table.py "$results"
