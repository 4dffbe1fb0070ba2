#!/usr/bin/env bash
# The main job: installs the dependencies, builds, and shows the store at
# work: a fresh store on the embedded default (SQLite files under
# build/demo/) and a scripted corvcfg session against it, with change
# notification received by a small listener.
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/install-deps.sh
scripts/build.sh Debug
scripts/demo-session.sh build/debug build/demo
