#!/usr/bin/env bash
# Runs every reliability campaign in its long mode on a Release build and
# prints the figures each reports (docs/reliability.md publishes them).
# Usage: scripts/soak.sh [campaign ...]   (default: all of them)
# CONCURRENCY_OPS (operations per process, default 1000) and CRASH_KILLS
# (default 300) lengthen or shorten those campaigns.
# MODEL_STEPS sets the length of the model campaign (default 1 000 000) and
# MODEL_MINUTES, when set, ends it earlier after that many minutes.
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/install-deps.sh
scripts/build.sh Release
dir=build/release

# One entry per campaign: "name|command line of its long mode".
# The fuzz campaign takes hours: CORV_FUZZ_RUNS sets its inputs per target.
campaigns=(
  "concurrency|$dir/tests/reliability/concurrency/reliability_concurrency --workers=8 --ops=${CONCURRENCY_OPS:-1000}"
  "crashes|$dir/tests/reliability/crashes/reliability_crashes --kills=${CRASH_KILLS:-300}"
  "iofault|$dir/tests/reliability/iofault/iofault_campaign --long"
  "model|$dir/tests/reliability/model/model_campaign --steps ${MODEL_STEPS:-1000000} ${MODEL_MINUTES:+--minutes $MODEL_MINUTES}"
  "fuzz|tests/fuzz/run-fuzzers.sh --runs ${CORV_FUZZ_RUNS:-10000000}"
)

wanted=("$@")
status=0
for entry in "${campaigns[@]}"; do
  name="${entry%%|*}"
  command="${entry#*|}"
  if [ ${#wanted[@]} -gt 0 ] && [[ " ${wanted[*]} " != *" $name "* ]]; then continue; fi
  echo "== $name"
  start=$(date +%s)
  if ! eval "$command"; then
    echo "== $name: FAILED"
    status=1
  fi
  echo "== $name: $(( $(date +%s) - start )) s"
done
exit $status
