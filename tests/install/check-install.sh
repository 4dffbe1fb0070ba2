#!/usr/bin/env bash
# Installs the build into a temporary prefix, builds a consumer project with
# find_package(CorvConfigStore), runs it, and checks that the shared library
# exports only the public API.
set -euo pipefail
build_dir="$1"
source_dir="$(cd "$(dirname "$0")" && pwd)"
work="$(mktemp -d)"
trap 'rm -rf "$work"' EXIT
cmake --install "$build_dir" --prefix "$work/prefix" >/dev/null
lib="$(ls "$work"/prefix/lib*/libcorvconfigstore.so.* | head -n 1)"
soname="$(objdump -p "$lib" | awk '/SONAME/ {print $2}')"
[ "$soname" = "libcorvconfigstore.so.0" ] || { echo "unexpected soname: $soname"; exit 1; }
# Host services and implementation classes stay hidden.
leaked="$(nm -DC --defined-only "$lib" | grep -E ' (DBStore|JsonValidator|ConfigStoreDocument|CorvSchemaStore)::' || true)"
[ -z "$leaked" ] || { echo "internal symbols exported:"; echo "$leaked"; exit 1; }
cmake -S "$source_dir/consumer" -B "$work/consumer" -DCMAKE_PREFIX_PATH="$work/prefix" >/dev/null
cmake --build "$work/consumer" >/dev/null
LD_LIBRARY_PATH="$(dirname "$lib")" "$work/consumer/consumer"
[ -x "$work/prefix/bin/corvcfg" ] || [ ! -e "$build_dir/tools/corvcfg" ] || { echo "corvcfg not installed"; exit 1; }
echo "install check passed"
