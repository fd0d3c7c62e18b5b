#!/usr/bin/env bash
# hardeningTest.sh LIBRARY PROBE PROCESSOR: the marks that the protections of optimised builds leave.
# What every build has is checked with the exports.
set -euo pipefail
library=$1 probe=$2 processor=$3

failed=0
# expect NAME FILE PATTERN READELF-OPTION
expect() {
    [ -s "$2" ] || { echo "$2 is missing"; exit 1; }
    readelf --wide "$4" "$2" | grep -E -- "$3" >/dev/null || { echo "missing: $1"; failed=1; }
}
expect "the stack protector" "$library" '__stack_chk_fail' --dyn-syms
expect "checked C library calls" "$probe" '__memcpy_chk' --symbols
if [ "$processor" = x86_64 ]; then
    expect "indirect-branch tracking and shadow stack" "$library" 'x86 feature: IBT, SHSTK' --notes
fi
exit "$failed"
