#!/usr/bin/env bash
# guideTest.sh PROGRAM OUTPUT: the program of the guide ends well, says nothing on standard error, and prints
# what the file OUTPUT holds. It may write files where it runs.
set -euo pipefail
program=$1 expected=$2
[ -s "$expected" ] || { echo "there is no $expected"; exit 1; }
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
cd "$work"
"$program" >"$work/output" 2>"$work/errors" || { echo "ended with $?"; cat "$work/errors"; exit 1; }
[ ! -s "$work/errors" ] || { echo "standard error is not empty:"; cat "$work/errors"; exit 1; }
diff "$expected" "$work/output"
