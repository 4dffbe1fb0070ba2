#!/usr/bin/env bash
# The store at work: provisions a fresh store in DEMO_DIR and runs a scripted
# corvcfg session against it, printing each command before its output.
# Checks what each step shows and exits non-zero when something is not as
# expected, so the test suite runs it too.
#
# Usage: scripts/demo-session.sh BUILD_DIR [DEMO_DIR]
#   BUILD_DIR  a build tree holding tools/corvcfg and examples/notify_listener
#   DEMO_DIR   where the store lives (default: BUILD_DIR/../demo); the
#              session's own files there are replaced
set -euo pipefail

source_dir="$(cd "$(dirname "$0")/.." && pwd)"
if [ $# -lt 1 ] || [ $# -gt 2 ]; then echo "usage: $0 BUILD_DIR [DEMO_DIR]" >&2; exit 2; fi
[ -d "$1" ] || { echo "no build directory $1" >&2; exit 2; }
build_dir="$(cd "$1" && pwd)"
demo_dir="${2:-$build_dir/../demo}"
corvcfg_bin="$build_dir/tools/corvcfg"
listener_bin="$build_dir/examples/notify_listener"
for program in "$corvcfg_bin" "$listener_bin"; do
  [ -x "$program" ] || { echo "missing $program: build it first" >&2; exit 2; }
done
mkdir -p "$demo_dir"
demo_dir="$(cd "$demo_dir" && pwd)"
schemas="$source_dir/examples/schemas"

# The notification socket is a relative path: every command runs in the demo
# directory, where the listener waits.
cd "$demo_dir"
rm -f store.db store.db-wal store.db-shm schemas.db schemas.db-wal schemas.db-shm \
  allowlist.json export.json listener.log velLocalSocketNexdNotifyOmni
export CORV_CONFIGSTORE_DB="$demo_dir/store.db"
export CORV_SCHEMASTORE_DB="$demo_dir/schemas.db"
export CORV_NOTIFY_ALLOWLIST="$demo_dir/allowlist.json"
unset CORV_UPGRADE_CTX CORV_LOG_STDERR CORV_LOG_LEVEL

listener_pid=""
cleanup() {
  if [ -n "$listener_pid" ]; then kill "$listener_pid" 2>/dev/null || true; fi
}
trap cleanup EXIT

corvcfg() { "$corvcfg_bin" "$@"; }
# corvcfg as a process of an upgrade in progress (upgrade context 2).
upgrading_corvcfg() { CORV_UPGRADE_CTX=2 "$corvcfg_bin" "$@"; }

output=""
failures=0

# Prints a command as it would be typed: arguments that need quoting in
# single quotes.
show() {
  local line="\$" arg
  if [ "$1" = upgrading_corvcfg ]; then
    line+=" CORV_UPGRADE_CTX=2 corvcfg"
    shift
  fi
  for arg in "$@"; do
    if [[ "$arg" =~ ^[A-Za-z0-9_./=:@,+-]+$ ]]; then
      line+=" $arg"
    else
      line+=" '${arg//"'"/"'\\''"}'"
    fi
  done
  printf '%s\n' "$line"
}

# Prints the command (after the expected exit status and what it means),
# runs it, shows its output (standard error included) and keeps it in
# $output. The command must end with the expected status.
run_expecting() {
  local expected=$1 meaning=$2
  shift 2
  show "$@"
  local status=0
  output="$("$@" 2>&1)" || status=$?
  [ -z "$output" ] || printf '%s\n' "$output"
  if [ "$status" -ne "$expected" ]; then
    echo "!! expected $meaning (exit status $expected), got $status"
    failures=$((failures + 1))
  fi
}

# A command that must succeed, be refused, or answer that nothing is there.
run() { run_expecting 0 success "$@"; }
refused() { run_expecting 1 refusal "$@"; }
absent() { run_expecting 3 "nothing there" "$@"; }

# Checks that the last output holds the text.
expect() {
  if ! grep -qF -- "$1" <<<"$output"; then
    echo "!! expected the output to hold: $1"
    failures=$((failures + 1))
  fi
}

# Checks that the last output does not hold the text.
expect_not() {
  if grep -qF -- "$1" <<<"$output"; then
    echo "!! expected the output not to hold: $1"
    failures=$((failures + 1))
  fi
}

# Checks that the last output is exactly the text.
expect_exactly() {
  if [ "$output" != "$1" ]; then
    echo "!! expected the output to be: $1"
    failures=$((failures + 1))
  fi
}

section() { printf '\n== %s\n' "$*"; }
note() { printf '# %s\n' "$*"; }

section "A fresh store in $demo_dir"
echo "CORV_CONFIGSTORE_DB=$CORV_CONFIGSTORE_DB"
echo "CORV_SCHEMASTORE_DB=$CORV_SCHEMASTORE_DB"
echo "CORV_NOTIFY_ALLOWLIST=$CORV_NOTIFY_ALLOWLIST"
run corvcfg store init
run corvcfg schema load "$schemas/host-schemas.json"
expect "Loaded 7 key schemas"
run corvcfg defaults load "$schemas/host-defaults.json"
run corvcfg schema list --names
expect "corv.net.dns"
note "a mistyped name is answered with the names it may be a slip for:"
absent corvcfg get corv.net.dnss
expect "hint: did you mean corv.net.dns?"

section "Reads: nothing stored yet, the shipped defaults, then a value"
absent corvcfg get corv.net.dns
expect_exactly "null"
note "the shipped default, loaded from host-defaults.json, is kept apart:"
run corvcfg get --default corv.net.dns
expect "example.net"
run corvcfg set corv.net.dns --json '{"servers": ["192.0.2.53", "198.51.100.53"], "ndots": 2}'
run corvcfg get corv.net.dns
expect "198.51.100.53"
run corvcfg revisions corv.net.dns
expect_exactly "1"

section "A write the key schema refuses: every fault is reported, nothing is written"
refused corvcfg set corv.net.dns --json '{"servers": ["192.0.2.300"], "ndots": 99, "colour": "blue"}'
expect "[1084]"
expect "/ndots"
expect "/servers/0"
expect "colour"
run corvcfg get corv.net.dns
expect "198.51.100.53"

section "An update merges members into the stored value"
run corvcfg update corv.net.dns --json '{"search": ["example.org"], "rotate": true}'
run corvcfg get corv.net.dns
expect "example.org"
expect "198.51.100.53"

section "A key with instances: one row per interface name"
run corvcfg set corv.net.nics --json '[
  {"name": "eth0", "mtu": 9000, "macAddress": "52:54:00:12:34:56",
   "addresses": [{"address": "192.0.2.10"}]},
  {"name": "eth1", "enabled": false}
]'
run corvcfg ids corv.net.nics
expect "eth0"
expect "eth1"
run corvcfg get corv.net.nics --id eth0
expect "52:54:00:12:34:56"
run corvcfg update corv.net.nics --id eth1 --json '{"mtu": 1400}'
note "with the shipped default instances the store does not hold (lo):"
run corvcfg get corv.net.nics --with-defaults
expect "\"lo\""
run corvcfg delete corv.net.nics --filter '{"enabled": false}'
run corvcfg ids corv.net.nics
expect_not "eth1"

section "Configuration for the next boot"
run corvcfg next-boot set corv.boot.settings --json '{"secureBoot": false, "timeoutSeconds": 10}'
run corvcfg next-boot get corv.boot.settings
expect "\"secureBoot\":false"
note "every key of the group written for the next boot, as a document:"
run corvcfg next-boot get corv.boot
expect "{\"corv\":{\"boot\":{\"settings\":{"
note "the live value is untouched until the host boots and applies it:"
absent corvcfg get corv.boot.settings
expect_exactly "null"
run corvcfg kv get BOOT_MODE
expect_exactly "4"
run corvcfg kernel-options update --json '{"hugepages": 4, "extraArguments": ["quiet"]}'
run corvcfg kernel-options get
expect "\"hugepages\":4"
note "the running kernel options are still unset:"
absent corvcfg get corv.kestrel.options
expect_exactly "null"

section "The host boots: external writes wait, boot-exempt keys and confirmation go on"
run corvcfg kv set IS_BOOT true
refused corvcfg update corv.net.dns --json '{"ndots": 3}'
expect "API cannot be invoked with EXTERNAL context during boot"
expect "hint: wait until the boot has ended, or write as the host itself with --context internal"
refused corvcfg next-boot get corv.boot.settings
expect "NextBootStore is not supported during the upgrade or boot phase"
note "corv.time.ntp is \"bootExempt\" in its schema:"
run corvcfg update corv.time.ntp --json '{"servers": ["ntp.example.net"]}'
note "the boot applied the kernel options; the host confirms them:"
run corvcfg boot confirm corv.kestrel.options
run corvcfg kv set IS_BOOT false
run corvcfg get corv.kestrel.options
expect "\"hugepages\":4"

section "A boot that applies part of a staged change"
run corvcfg kernel-options update --json '{"hugepages": 8, "iommu": "off"}'
note "the boot applied hugepages only:"
run corvcfg boot confirm-partial corv.kestrel.options --json '{"hugepages": 8}'
run corvcfg get corv.kestrel.options
expect "\"hugepages\":8"
expect_not "\"iommu\":\"off\""
note "iommu stays pending for a later boot:"
run corvcfg kernel-options get
expect "\"iommu\":\"off\""

section "An upgrade: a write of a key that waits for the next boot to apply"
note "corv.time.ntp says \"applyDuringUpgrade\": false, so a write during upgrade"
note "context 2 is stored unconfirmed: only the upgrade and the desired view see it"
run upgrading_corvcfg set corv.time.ntp --json '{"enabled": false, "servers": ["ntp.example.net"]}'
run upgrading_corvcfg get corv.time.ntp
expect "\"enabled\":false"
absent corvcfg get corv.time.ntp
expect_exactly "null"
run corvcfg get --desired corv.time.ntp
expect "\"enabled\":false"
note "what the next boot changes in the group, with the value in force beside it:"
run corvcfg pending corv.time --table
expect "awaiting-confirmation"
run corvcfg boot confirm corv.time.ntp
run corvcfg get corv.time.ntp
expect "\"enabled\":false"

section "Export a group, remove it, import it back"
run corvcfg export corv.net --output export.json
expect "Exported 3 keys"
run cat export.json
expect "eth0"
run corvcfg validate --document export.json
expect_exactly "Document: valid"
run corvcfg get corv.net.dns
dns_before="$output"
run corvcfg delete corv.net.dns
absent corvcfg get corv.net.dns
expect_exactly "null"
run corvcfg import export.json
expect "Imported 3 keys"
run corvcfg get corv.net.dns
if [ "$output" != "$dns_before" ]; then
  echo "!! the re-imported value differs from the exported one"
  failures=$((failures + 1))
fi

section "Change notification to the host daemon's socket"
echo '["corv.net.dns", "corv.time.*"]' >allowlist.json
note "the allowlist names one key and one whole group:"
run cat allowlist.json
run corvcfg kv set NOTIFY_NEXD true
run corvcfg kv list --table
expect "NOTIFY_NEXD  true"
echo "\$ notify_listener 2 10 &    # in $demo_dir, logging to listener.log"
"$listener_bin" 2 10 >listener.log 2>&1 &
listener_pid=$!
for _ in $(seq 50); do
  [ -S velLocalSocketNexdNotifyOmni ] && break
  sleep 0.1
done
note "corv.net.nics is not in the allowlist: its write sends nothing"
run corvcfg update corv.net.nics --id eth0 --json '{"mtu": 1500}'
run corvcfg update corv.net.dns --json '{"ndots": 1}'
run corvcfg set corv.time.ntp --json '{"enabled": true, "servers": ["ntp.example.net"]}'
listener_status=0
wait "$listener_pid" || listener_status=$?
listener_pid=""
run cat listener.log
expect "POST /api HTTP/1.1"
expect "corv.net.dns"
expect "corv.time.ntp"
expect_not "corv.net.nics"
if [ "$listener_status" -ne 0 ]; then
  echo "!! the listener did not receive two requests (exit status $listener_status)"
  failures=$((failures + 1))
fi

echo
if [ "$failures" -ne 0 ]; then
  echo "demo session: $failures check(s) FAILED"
  exit 1
fi
echo "demo session: every step behaved as shown"
