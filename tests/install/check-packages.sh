#!/usr/bin/env bash
# Builds the Debian packages of a build tree with cpack and checks them: the
# library package named after its soname, the -dev and the program's package
# with what each holds and depends on; then unpacks them into a throwaway
# root and runs the program they install there.
#
# Usage: check-packages.sh BUILD_DIR
set -euo pipefail
build_dir="$(cd "$1" && pwd)"
work="$(mktemp -d)"
trap 'rm -rf "$work"' EXIT
fail() { echo "$*"; exit 1; }

# Light compression: the check reads the packages once.
cpack -G DEB --config "$build_dir/CPackConfig.cmake" -B "$work/packages" \
  -D CPACK_DEBIAN_COMPRESSION_TYPE=none >"$work/cpack.log" 2>&1 ||
  { cat "$work/cpack.log"; fail "cpack failed"; }
package_file() {
  local file
  file="$(ls "$work"/packages/"$1"_*.deb 2>/dev/null)" || fail "no package $1"
  echo "$file"
}
library="$(package_file libcorvconfigstore0)"
development="$(package_file libcorvconfigstore-dev)"
tools="$(package_file corvcfg)"
[ "$(ls "$work"/packages/*.deb | wc -l)" -eq 3 ] || fail "unexpected packages: $(ls "$work"/packages)"

# Each package holds its part of the installation and nothing else.
contents() { dpkg-deb -c "$1" | awk '{print $6}' | sed 's,^\./,/,'; }
expect_files() {
  local package="$1" listing
  shift
  listing="$(contents "$package")"
  for pattern in "$@"; do
    grep -qE "$pattern" <<<"$listing" || fail "$(basename "$package") lacks $pattern"
  done
}
forbid_files() {
  local package="$1" listing
  shift
  listing="$(contents "$package")"
  for pattern in "$@"; do
    ! grep -qE "$pattern" <<<"$listing" || fail "$(basename "$package") holds $pattern"
  done
}
expect_files "$library" '^/usr/lib/.*libcorvconfigstore\.so\.0$' '^/usr/lib/.*libcorvconfigstore\.so\.0\.[0-9.]+$'
forbid_files "$library" '\.so$' '/include/' '/bin/' 'pkgconfig' '/cmake/'
expect_files "$development" '^/usr/lib/.*libcorvconfigstore\.so$' \
  '^/usr/include/corvconfigstore/CorvConfigStore\.h$' \
  '^/usr/lib/.*cmake/CorvConfigStore/CorvConfigStoreConfig\.cmake$' \
  '^/usr/lib/.*pkgconfig/corvconfigstore\.pc$'
forbid_files "$development" '\.so\.0' '/bin/'
expect_files "$tools" '^/usr/bin/corvcfg$' '^/usr/share/man/man1/corvcfg\.1\.gz$' \
  '^/usr/share/bash-completion/completions/corvcfg$'
forbid_files "$tools" 'libcorvconfigstore' '/include/'

# Dependencies: Debian's libraries found by dpkg-shlibdeps, and the library
# package at this very version.
field() { dpkg-deb -f "$1" "$2"; }
version="$(field "$library" Version)"
expect_depends() {
  local package="$1" depends
  shift
  depends="$(field "$package" Depends)"
  for dependency in "$@"; do
    grep -qF -- "$dependency" <<<"$depends" ||
      fail "$(basename "$package") does not depend on $dependency: $depends"
  done
}
expect_depends "$library" libsqlite3-0 libuuid1 libpcre2-8-0 libstdc++6 libc6
expect_depends "$development" "libcorvconfigstore0 (= $version)" rapidjson-dev
expect_depends "$tools" "libcorvconfigstore0 (= $version)" libstdc++6
[ "$(field "$library" Section)" = libs ] || fail "library package not in section libs"
dpkg-deb --ctrl-tarfile "$library" | tar -tf - | grep '^\./shlibs$' >/dev/null ||
  fail "library package without shlibs file"

# Unpacked into a root of their own, the program runs from there and works
# on a fresh store.
root="$work/root"
for package in "$library" "$development" "$tools"; do dpkg -x "$package" "$root"; done
corvcfg() { env -u LD_LIBRARY_PATH "$root/usr/bin/corvcfg" --db "$work/store.db" --schema-db "$work/schemas.db" "$@"; }
corvcfg --help | grep "^Usage: corvcfg" >/dev/null || fail "unpacked corvcfg does not run"
corvcfg store init >/dev/null || fail "unpacked corvcfg cannot set up a store"
corvcfg kv set PACKAGE_CHECK unpacked || fail "unpacked corvcfg cannot write"
[ "$(corvcfg kv get PACKAGE_CHECK)" = unpacked ] || fail "unpacked corvcfg does not read back"
MANPATH="$root/usr/share/man" man -P cat corvcfg 2>/dev/null | grep "EXIT STATUS" >/dev/null ||
  fail "man does not find the unpacked manual page"
echo "package check passed"
