#!/usr/bin/env bash
# Every test that docs/required-behaviour.md, docs/testing.md and SECURITY.md name exists.
set -euo pipefail
source=$1

# Suites and single tests, as `Suite` or `Suite.Name`; an instantiation stands before a slash.
# shellcheck disable=SC2016  # the quotes are those of the documents
named=$(grep -hoE '`([A-Za-z]+/)?[A-Z][A-Za-z0-9]*\.[A-Z][A-Za-z0-9]*`' \
    "$source/docs/required-behaviour.md" "$source/docs/testing.md" "$source/SECURITY.md" |
    tr -d '`' | sed 's|.*/||' | sort -u)
[ "$(wc -l <<<"$named")" -gt 50 ] || { echo "the documents name no tests" >&2; exit 1; }

known=$(grep -rhoE '^(TYPED_)?TEST(_F|_P)?\([A-Za-z0-9]+,\s*[A-Za-z0-9]+' --include='*.cpp' "$source/tests" |
    sed -E 's/^(TYPED_)?TEST(_F|_P)?\(([A-Za-z0-9]+),\s*/\3./' | sort -u)
[ -n "$known" ] || { echo "there are no tests" >&2; exit 1; }

missing=$(comm -23 <(echo "$named") <(echo "$known"))
if [ -n "$missing" ]; then
    printf 'documented, but no such test:\n%s\n' "$missing" >&2
    exit 1
fi
