#!/usr/bin/env bash
# The main job: installs the dependencies, builds, and runs the demonstration
# program.
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/install-deps.sh
scripts/build.sh Debug --target identifiers_demo
build/debug/examples/identifiers_demo
