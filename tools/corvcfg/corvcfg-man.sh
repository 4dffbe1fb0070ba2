#!/usr/bin/env bash
# Generates the corvcfg manual page with help2man. The options and one
# subsection per command come from the program's own --help outputs; the exit
# statuses and files from the tables of the command reference, the
# environment variables from the user guide's, so that each text has one
# source.
#
# Usage: corvcfg-man.sh CORVCFG VERSION DOCS OUTPUT
#   CORVCFG  the built program
#   VERSION  printed when the program has no --version of its own
#   DOCS     the docs/ folder, with command-reference.md and user-guide.md
#   OUTPUT   the page to write (corvcfg.1)
#
# help2man runs its program with --help and --version; it runs this script,
# under the name corvcfg, which answers by running the real program.
set -euo pipefail

# Paragraphs of a help text (blank-line separated) that do not start with
# one of the given labels, or (with -v keep=1) only those that do.
paragraphs() {
  awk -v labels="$1" -v keep="${2:-0}" '
    BEGIN { RS = ""; n = split(labels, l, ",") }
    {
      labelled = 0
      for (i = 1; i <= n; i++) if (index($0, l[i] ":\n") == 1) labelled = 1
      if (labelled == keep) { printf "%s%s\n", sep, $0; sep = "\n" }
    }'
}

# The names of the subcommands a help text lists.
subcommands() {
  awk 'BEGIN { RS = "" } index($0, "Subcommands:\n") == 1' |
    awk 'NR > 1 && /^  [^ ]/ { print $1 }'
}

# One command's help as a subsection: its usage line as the heading, its
# description and options below. Labels are dropped (help2man would take
# "Options:" for its own section) and so are the lists of subcommands, which
# follow as subsections of their own, and the notes every help ends with.
command_section() {
  local help
  help="$("$CORVCFG_MAN_PROGRAM" "$@" --help)"
  printf '\n%s:\n' "$(sed -n 's/^Usage: //p' <<<"$help")"
  printf '  %s\n\n' "$(sed -n '1p' <<<"$help")"
  paragraphs "Subcommands" <<<"$(sed '1,/^Usage: /d' <<<"$help")" |
    grep -vxE 'Positionals:|Options:' | grep -vxF -f <(notes) || true
  local sub
  for sub in $(subcommands <<<"$help"); do command_section "$@" "$sub"; done
}

# The notes ending the program's help, which every command's help repeats.
notes() {
  "$CORVCFG_MAN_PROGRAM" --help | awk 'BEGIN { RS = "" } { last = $0 } END { print last }'
}

# Answers help2man as the program would, with the commands added.
if [ -n "${CORVCFG_MAN_PROGRAM:-}" ]; then
  case "$1" in
    --version)
      "$CORVCFG_MAN_PROGRAM" --version 2>/dev/null || echo "corvcfg $CORVCFG_MAN_VERSION"
      ;;
    --help)
      help="$("$CORVCFG_MAN_PROGRAM" --help)"
      # The description and notes first, each note a paragraph of its own,
      # then the options, then the commands.
      paragraphs "Options,Subcommands" <<<"$help" | sed -e '/^$/d' -e G
      paragraphs "Options" 1 <<<"$help"
      printf '\n*Commands*\n'
      for command in $(subcommands <<<"$help"); do command_section "$command"; done
      ;;
  esac
  exit 0
fi

if [ $# -ne 4 ]; then echo "usage: $0 CORVCFG VERSION DOCS OUTPUT" >&2; exit 2; fi
program="$(cd "$(dirname "$1")" && pwd)/$(basename "$1")"
docs="$3"
output="$4"
work="$(mktemp -d)"
trap 'rm -rf "$work"' EXIT

# The rows of the first table after a heading of a document, as tagged
# paragraphs: the first cell is the tag, the second its text, a third the
# default.
table_section() {
  awk -v heading="$2" '
    $0 == heading { inside = 1; next }
    inside && /^#/ { exit }
    inside && /^\|/ { table = 1; rows++; if (rows > 2) print; next }
    table { exit }' "$docs/$1" |
    sed -E -e 's/\\/\\e/g' -e 's/-/\\-/g' -e 's/`([^`]*)`/\\fB\\%\1\\fR/g' \
      -e 's/\[([^]]*)\]\([^)]*\)/\1/g' |
    awk -F '|' '{
      tag = $2; text = $3
      gsub(/^ +| +$/, "", tag); gsub(/^ +| +$/, "", text)
      if (NF > 4) { fallback = $4; gsub(/^ +| +$/, "", fallback); text = text "; default: " fallback }
      printf ".TP\n%s\n%s\n", tag, text
    }'
}

{
  # Places the commands, which come from the help text, before the sections
  # below.
  echo "[>COMMANDS]"
  echo "[EXIT STATUS]"
  table_section command-reference.md "### Errors and exit statuses"
  echo "[ENVIRONMENT]"
  table_section user-guide.md "## Environment"
  echo "[FILES]"
  table_section command-reference.md "### Files"
  echo "[SEE ALSO]"
  echo "The command reference and the user guide,"
  echo ".I docs/command\\-reference.md"
  echo "and"
  echo ".IR docs/user\\-guide.md ,"
  echo "in the source tree."
} >"$work/sections.h2m"
for section in "EXIT STATUS" ENVIRONMENT FILES; do
  # A heading renamed in the reference must not leave a section empty.
  if ! awk -v s="[$section]" '$0 == s { getline; exit $0 != ".TP" }' "$work/sections.h2m"; then
    echo "corvcfg-man.sh: no table for $section in $docs" >&2
    exit 1
  fi
done

ln -s "$(cd "$(dirname "$0")" && pwd)/$(basename "$0")" "$work/corvcfg"
name="$("$program" --help | sed -n '1{s/\.$//;s/^./\L&/;p}')"
CORVCFG_MAN_PROGRAM="$program" CORVCFG_MAN_VERSION="$2" \
  help2man --no-info --section=1 --name="$name" --manual="User Commands" \
  --include="$work/sections.h2m" --output="$work/corvcfg.1" "$work/corvcfg"
# A command's heading is its usage line; help2man keeps the colon that marked it.
sed -E 's/^(\.SS ".*):"$/\1"/' "$work/corvcfg.1" >"$output"
