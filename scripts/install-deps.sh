#!/usr/bin/env bash
# Installs every build, test and benchmark dependency from Debian's packages
# (clang with libFuzzer's runtime and the symbolizer: the fuzz build).
# Skips what is already installed, so running it twice is harmless.
set -euo pipefail

packages=(
  g++ cmake make pkg-config dpkg-dev help2man man-db
  rapidjson-dev libsqlite3-dev sqlite3 uuid-dev libpcre2-dev libcli11-dev
  libgtest-dev libgmock-dev libbenchmark-dev json-schema-test-suite
  python3-dev pybind11-dev python3-pytest
  clang-14 libclang-rt-14-dev llvm-14
)
missing=()
for p in "${packages[@]}"; do
  dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q "install ok installed" || missing+=("$p")
done
if [ ${#missing[@]} -eq 0 ]; then
  echo "dependencies: all installed"
  exit 0
fi
echo "dependencies: installing ${missing[*]}"
SUDO=""
[ "$(id -u)" -eq 0 ] || SUDO="sudo"
export DEBIAN_FRONTEND=noninteractive
$SUDO apt-get update -qq
$SUDO apt-get install -y -qq --no-install-recommends "${missing[@]}"
