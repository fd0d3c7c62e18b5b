#!/usr/bin/env bash
# manualTest.sh SOURCE WORK VERSION: makes the manual, which has no warnings, and looks it over: every public
# header, class and document has a page, links lead somewhere, and nothing is loaded from elsewhere. What is wrong
# is told, too.
set -euo pipefail
source_dir=$1 work=$2 version=$3
manual() { python3 -X utf8 -B "$source_dir/scripts/lib_manual" "$@"; }

for program in doxygen python3; do
    command -v "$program" >/dev/null || { echo "skipped: the manual needs $program, which is not installed"; exit 77; }
done

manual pictures --check
manual build --version "$version" "$work"
manual check "$work"

# Another folder and another locale give the same bytes.
LC_ALL=de_DE.ISO-8859-1 manual build --version "$version" "$work/else where"
diff -r "$work/html" "$work/else where/html" || { echo "the manual depends on the folder where it is made"; exit 1; }
rm -r "$work/else where"

# The check finds pages that are changed so.
change() {
    cp "$work/html/$1" "$work/kept"
    sed -i "$2" "$work/html/$1"
    ! cmp -s "$work/html/$1" "$work/kept" || { echo "$1 does not change by $2"; exit 1; }
}
change index.html 's|href="wire-formats.html"|href="wire.html"|'
change threads.html 's|id="threads-stopping"|id="threads-halting"|'
change building.html 's|<head>|<head><script src="https://example.com/a.js"></script>|'
rm "$work/html/kelThread_8h.html"
! manual check "$work" >/dev/null 2>"$work/problems" || { echo "the check finds nothing"; exit 1; }
for problem in 'index.html: there is no wire.html' 'threads.html has no #threads-stopping' \
    'building.html loads https://example.com/a.js' 'include/infra/oss/kelThread.h has no page'; do
    grep -qF "$problem" "$work/problems" || { echo "not noticed: $problem"; exit 1; }
done
