#!/usr/bin/env bash
# manualTest.sh SOURCE WORK VERSION: makes the manual, which has no warnings, and looks it over: every public
# header, class and document has a page, links lead somewhere, and nothing is loaded from elsewhere. What is wrong
# is told, too.
set -euo pipefail
source_dir=$1 work=$2 version=$3
manual() { python3 -B "$source_dir/scripts/lib_manual" "$@"; }

for program in doxygen python3; do
    command -v "$program" >/dev/null || { echo "skipped: the manual needs $program, which is not installed"; exit 77; }
done

manual pictures --check
manual build --version "$version" "$work"
manual check "$work"

# Another folder gives the same bytes.
manual build --version "$version" "$work/else where"
diff -r "$work/html" "$work/else where/html" || { echo "the manual depends on the folder where it is made"; exit 1; }
rm -r "$work/else where"

# refused WHAT FILE SED-EXPRESSION: the check finds a page that is changed so.
refused() {
    local page=$work/html/$2
    cp "$page" "$work/kept"
    sed -i "$3" "$page"
    ! cmp -s "$page" "$work/kept" || { echo "$2 does not change by $3"; exit 1; }
    ! manual check "$work" >"$work/problems" 2>&1 || { echo "not noticed: $1"; exit 1; }
    cp "$work/kept" "$page"
}
refused "a link to a page that does not exist" index.html 's|href="wire-formats.html"|href="wire.html"|'
refused "a link to a section that does not exist" text.html 's|id="text-databuffer"|id="text-buffer"|'
refused "a script from elsewhere" index.html 's|<head>|<head><script src="https://example.com/a.js"></script>|'
