#!/usr/bin/env bash
# versionTest.sh PROGRAM: --version prints the three parts of the library's build version, and nothing else.
set -euo pipefail
program=$1
errors=$(mktemp)
trap 'rm -f "$errors"' EXIT
printed=$("$program" --version 2>"$errors" </dev/null)
[ ! -s "$errors" ] || { echo "--version reported something"; exit 1; }
diff <(printf '%s\n' "${program##*/}, product version 1.0.0.0" 'protocol version 1.1' 'build number 579') \
    <(echo "$printed")
