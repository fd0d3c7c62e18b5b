#!/usr/bin/env bash
# guideTest.sh SOURCE: the pages of the guide show no C++, shell or CMake text of their own, but parts of the
# files in examples/guide, which tests build and run; each marked part is shown, and each page is reached.
set -euo pipefail
source_dir=$1
pages=("$source_dir"/docs/guide/*.md)
[ "${#pages[@]}" -gt 10 ] || { echo "there is no guide"; exit 1; }
wrong=0
complain() {
    echo "$1"
    wrong=1
}

shown=$(sed -nE 's/^\\snippet ([^ ]+) ([^ ]+)$/\1 \2/p' "${pages[@]}" | sort -u)
marked=$(cd "$source_dir" && grep -rnoE '^ *(//|#) \[[a-z]+\]$' examples/guide |
    sed -E 's|^([^:]+):[0-9]+: *[^ ]+ \[(.*)\]$|\1 \2|' | sort)
diff <(echo "$shown") <(uniq <<<"$marked") || complain "shown (<) and marked (>) parts differ"
! uniq -c <<<"$marked" | grep -v '^ *2 ' >/dev/null || complain "a part has no beginning, no end, or two"

while read -r file; do
    [ -s "$source_dir/$file" ] || complain "there is no $file"
done < <(sed -nE 's/^\\(verb)?include ([^ ]+)$/\2/p' "${pages[@]}")
grep -nE '^(```|~~~) *[a-z{]' "${pages[@]}" && complain "these samples are not compiled"
exit "$wrong"
