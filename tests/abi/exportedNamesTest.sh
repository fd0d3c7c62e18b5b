#!/usr/bin/env bash
# exportedNamesTest.sh LIBRARY NM NAMES HELPERS: the shared object exports the public names of the one
# list and the helpers of inline code of the other, and nothing else. Names stay in the list when a
# header defines them inline by now: programs that were compiled before look for them.
set -euo pipefail
export LC_ALL=C
library=$1 nm=$2 names=$3 helpers=$4
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

# report_if_any HEADING LINES
report_if_any() {
    [ -z "$2" ] || { printf '%s:\n%s\n' "$1" "$2"; failed=1; }
}
failed=0

[ "$(wc -l <"$names")" -ge 500 ] || { echo "$names lists too few names"; exit 1; }
sort --unique --check "$names" || { echo "$names is not sorted"; exit 1; }
grep -v -e '^#' -e '^$' "$helpers" >"$work/helpers"
report_if_any "Both public and a helper" "$(sort "$work/helpers" | comm -12 "$names" -)"
sort "$names" "$work/helpers" >"$work/expected"

# exported OPTION...: names without address, type, version and release of ICU.
exported() {
    "$nm" --dynamic --defined-only "$@" "$library" |
        sed -nE 's/icu_[0-9]+::/icu::/g; s/^[0-9a-f]+ [^A] (.*)@@KELINFRA_1\.0$/\1/p' | sort -u
}
exported --demangle >"$work/exported"
report_if_any "Not exported any more" "$(comm -23 "$work/expected" "$work/exported")"
exported >"$work/symbols"
report_if_any "Exported although it is not public" "$(comm -13 "$work/expected" "$work/exported")"

# Constructors and destructors bear one name and are two functions: 1 for a complete object, 2 for
# the base of a derived one.
for kind in C D; do
    for form in 1 2; do
        sed -nE "s/^(_ZN[0-9A-Za-z_]+)${kind}${form}E/\1${kind}?E/p" "$work/symbols" >"$work/$kind$form"
    done
    [ -s "$work/${kind}1" ] || { echo "No ${kind}1 function among the exported names"; exit 1; }
    report_if_any "Exported in one of two forms only (${kind}1, ${kind}2)" \
        "$(diff "$work/${kind}1" "$work/${kind}2")"
done
exit $failed
