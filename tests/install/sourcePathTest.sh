#!/usr/bin/env bash
# sourcePathTest.sh LIBRARY SOURCE BUILD NAME: the library does not tell in which folder it was built. Its
# debug information, if there is any, has the sources below NAME.
set -euo pipefail
library=$1 source=$2 build=$3 name=$4

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
[ -s "$library" ] || { echo "$library is missing"; exit 1; }
objcopy --decompress-debug-sections "$library" "$work/library"
strings -a "$work/library" >"$work/strings"
grep -F -- "libkelinfra.so.1" "$work/strings" >/dev/null || { echo "no texts were found"; exit 1; }

failed=0
# Our folders, and those of another checkout, out of which a cache of objects may have brought its own.
if grep -F -e "$source/" -e "$build" "$work/strings" ||
    grep -E '/(include|src)/infra(/|$)|/build(/|$)' "$work/strings" | grep '^/' | grep -vF -- "$name"; then
    echo "these paths are in the library"
    failed=1
fi
if readelf --wide --sections "$work/library" | grep -F .debug_line >/dev/null &&
    ! grep -E "^$name(\$|/build|/src)" "$work/strings" >/dev/null; then
    echo "the debug information has no sources below $name"
    failed=1
fi
exit "$failed"
