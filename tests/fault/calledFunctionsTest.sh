#!/usr/bin/env bash
# calledFunctionsTest.sh LIBRARY NM LIST FOLDER: every function of the C library that the shared object
# calls stands in the list, with the tests that make it fail or with "none", and every test that the
# list names is there, in the programs of the folder. So does every form of operator new: only those
# that the tests replace are called.
set -euo pipefail
export LC_ALL=C
library=$1 nm=$2 list=$3 folder=$4
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
failed=0

# report_if_any HEADING LINES
report_if_any() {
    [ -z "$2" ] || { printf '%s:\n%s\n' "$1" "$2"; failed=1; }
}

"$nm" --dynamic --undefined-only "$library" |
    sed -nE 's/^ +U ([^@]+)(@.*)?$/\1/p' >"$work/symbols"

# What compilers, the language and ICU bring is not called by the sources; a checked form of a
# function, "__name_chk", stands for the function.
sed -E 's/^__([a-z_]+)_chk$/\1/' "$work/symbols" |
    grep -E '^[a-z]' | grep -vE '_[0-9]+$|^(stdout|stderr|environ)$' | sort -u >"$work/called"
[ "$(wc -l <"$work/called")" -ge 40 ] || { echo "$library calls too few functions"; exit 1; }
grep -v '^#' "$list" >"$work/rows"
sort --unique --check "$work/rows" || { echo "$list is not sorted"; exit 1; }
cut -d' ' -f1 "$work/rows" >"$work/listed"
report_if_any "Called, but not in $list" "$(comm -23 "$work/called" "$work/listed")"

# Every allocation function is one of those that the tests make fail.
report_if_any "Forms of operator new that no test makes fail" \
    "$(grep -E '^_Zna|^_Znw' "$work/symbols" | grep -vxE '_Zn[aw]m(RKSt9nothrow_t)?' || true)"

# list_tests PROGRAM: writes the full names of its tests. Those with parameters end in the name of the row.
list_tests() {
    [ -e "$work/$1" ] ||
        "$folder/$1" --gtest_list_tests |
        awk '/^[^ ]/ { suite = $1; next } { print suite $1 }' >"$work/$1"
}

while read -r function program suite part; do
    [ "$program" != none ] || continue
    pattern=$suite.
    [ "$part" = - ] || pattern="$suite\\..*$part"
    list_tests "$program"
    grep -q -- "^$pattern" "$work/$program" || {
        echo "$function: $program has no test $suite with $part in its name"
        failed=1
    }
done <"$work/rows"
exit $failed
