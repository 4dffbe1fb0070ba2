#!/usr/bin/env bash
# Runs every reliability campaign in its long mode on a Release build and
# prints the figures each reports (docs/reliability.md publishes them).
# Usage: scripts/soak.sh [campaign ...]   (default: all of them)
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/install-deps.sh
scripts/build.sh Release
dir=build/release

# One entry per campaign: "name|command line of its long mode".
# The fuzz campaign takes hours: CORV_FUZZ_RUNS sets its inputs per target.
campaigns=(
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
