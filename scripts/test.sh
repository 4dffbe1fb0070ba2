#!/usr/bin/env bash
# Installs the dependencies, then builds and runs the whole test suite twice:
# in the development build and under AddressSanitizer plus
# UndefinedBehaviorSanitizer; then runs every fuzz target for 30 seconds.
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/install-deps.sh
for type in Debug Sanitize; do
  echo "== $type build"
  scripts/build.sh "$type"
  dir="build/$(echo "$type" | tr '[:upper:]' '[:lower:]')"
  echo "== $type tests"
  ctest --test-dir "$dir" --output-on-failure -j "$(nproc)"
done
echo "== Fuzz build and targets"
tests/fuzz/run-fuzzers.sh 30
