#!/usr/bin/env bash
# Builds the Debian packages: a Release build of the library and corvcfg
# for the /usr prefix (build/package), then cpack -G DEB. The .deb files
# land in build/packages: libcorvconfigstore0, libcorvconfigstore-dev and
# corvcfg.
set -euo pipefail
cd "$(dirname "$0")/.."
cmake -S . -B build/package -DCMAKE_BUILD_TYPE=Release -DCMAKE_INSTALL_PREFIX=/usr \
  -DCORV_BUILD_TESTS=OFF -DCORV_BUILD_BENCH=OFF >/dev/null
cmake --build build/package -j "$(nproc)"
cpack -G DEB --config build/package/CPackConfig.cmake -B build/packages
ls build/packages/*.deb
