#!/usr/bin/env bash
# exportedNamesTest.sh LIBRARY NM NAMES: the shared object exports every name of the list, whether or
# not a header defines it inline by now: programs that were compiled before look for it.
set -euo pipefail
library=$1 nm=$2 names=$3
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

"$nm" --dynamic --defined-only --demangle "$library" |
    sed -E 's/^[0-9a-f]+ [A-Za-z] //; s/@@KELINFRA_1\.0$//; s/icu_[0-9]+::/icu::/g' |
    LC_ALL=C sort -u >"$work/exported"
[ "$(wc -l <"$names")" -ge 200 ] || { echo "$names lists too few names"; exit 1; }
missing=$(LC_ALL=C comm -23 "$names" "$work/exported")
[ -z "$missing" ] || { printf 'Not exported any more:\n%s\n' "$missing"; exit 1; }
