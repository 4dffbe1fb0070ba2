#!/usr/bin/env bash
# Installs the build into a temporary prefix and checks what a host gets:
# the shared library exports only the public API, the installed corvcfg runs
# without LD_LIBRARY_PATH, its manual page is found by man, and programs
# build against the installation both with the CMake package and with
# pkg-config and plain g++.
#
# Usage: check-install.sh BUILD_DIR [LINK_FLAGS]
#   LINK_FLAGS  what a program linking this build's library needs besides
#               (the sanitizer flags of a Sanitize build)
set -euo pipefail
build_dir="$1"
link_flags="${2:-}"
here="$(cd "$(dirname "$0")" && pwd)"
source_dir="$(cd "$here/../.." && pwd)"
work="$(mktemp -d)"
trap 'rm -rf "$work"' EXIT
prefix="$work/prefix"
fail() { echo "$*"; exit 1; }

cmake --install "$build_dir" --prefix "$prefix" >/dev/null
lib="$(ls "$prefix"/lib*/libcorvconfigstore.so.* | head -n 1)"
libdir="$(dirname "$lib")"
soname="$(objdump -p "$lib" | awk '/SONAME/ {print $2}')"
[ "$soname" = "libcorvconfigstore.so.0" ] || fail "unexpected soname: $soname"
# Host services and implementation classes stay hidden.
leaked="$(nm -DC --defined-only "$lib" | grep -E ' (DBStore|JsonValidator|ConfigStoreDocument|CorvSchemaStore)::' || true)"
[ -z "$leaked" ] || fail "internal symbols exported:"$'\n'"$leaked"

# The program finds the library through its relative run path.
help="$(env -u LD_LIBRARY_PATH "$prefix/bin/corvcfg" --help)" || fail "installed corvcfg does not run"
grep -q "^Usage: corvcfg" <<<"$help" || fail "installed corvcfg printed no usage"
[ -f "$prefix/share/bash-completion/completions/corvcfg" ] || fail "completion not installed"

# The manual page has the program's options, one subsection per command and
# the sections from the documentation.
page="$(MANPATH="$prefix/share/man" MANWIDTH=200 man -P cat corvcfg 2>&1)" || fail "man corvcfg: $page"
for heading in NAME SYNOPSIS OPTIONS COMMANDS "EXIT STATUS" ENVIRONMENT FILES; do
  grep -qx "$heading" <<<"$page" || fail "manual page without section $heading"
done
for text in "--schema-db" "corvcfg next-boot get" "corvcfg store init" "CORV_CONFIGSTORE_DB" \
  "/etc/velmo/configstore/current-store-1"; do
  grep -qF -- "$text" <<<"$page" || fail "manual page without: $text"
done

# A CMake project, with find_package(CorvConfigStore).
cmake -S "$here/consumer" -B "$work/consumer" -DCMAKE_PREFIX_PATH="$prefix" \
  -DCMAKE_EXE_LINKER_FLAGS="$link_flags" >/dev/null
cmake --build "$work/consumer" >/dev/null
"$work/consumer/consumer" >/dev/null || fail "consumer failed"
"$work/consumer/apply_file" >/dev/null || fail "apply_file failed"

# The quick start, with pkg-config and plain g++.
flags="$(PKG_CONFIG_PATH="$libdir/pkgconfig" pkg-config --cflags --libs corvconfigstore)" ||
  fail "pkg-config does not find corvconfigstore"
# shellcheck disable=SC2086  # the flags are words
g++ -std=c++17 -Wall -Wextra -Werror -o "$work/quick_start" "$source_dir/examples/quick_start.cpp" \
  $flags $link_flags
LD_LIBRARY_PATH="$libdir" "$work/quick_start" >/dev/null || fail "quick start built with pkg-config failed"
echo "install check passed"
