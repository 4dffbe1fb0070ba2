#!/usr/bin/env bash
# Configures and builds one build type into build/<type> (default: Debug).
# Usage: scripts/build.sh [Debug|Release|Sanitize] [cmake --build args...]
set -euo pipefail
cd "$(dirname "$0")/.."
type="${1:-Debug}"
shift || true
dir="build/$(echo "$type" | tr '[:upper:]' '[:lower:]')"
cmake -S . -B "$dir" -DCMAKE_BUILD_TYPE="$type" >/dev/null
cmake --build "$dir" -j "$(nproc)" "$@"
