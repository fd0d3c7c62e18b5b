#!/usr/bin/env bash
# otherIcuTest.sh COMPILER TREE LIBDIR WORK PROJECT VERSION: where there is another release of ICU than the
# library was built with, a user's project is told so when it is configured.
set -euo pipefail
compiler=$1 tree=$2 libdir=$3 work=$4 project=$5 version=$6

rm -rf "$work"
mkdir -p "$work/include/unicode" "$work/pkgconfig"
built=$(echo '#include <unicode/uvernum.h>
U_ICU_VERSION_MAJOR_NUM' | "$compiler" -E -xc++ - | tail -n 1)
[ "$built" -gt 60 ] || { echo "the release of ICU is not known"; exit 1; }

# release NUMBER: pretends that this release of ICU is installed.
release() {
    echo "#define U_ICU_VERSION \"$1.1\"" >"$work/include/unicode/uvernum.h"
    : >"$work/include/unicode/utypes.h"
    local component
    for component in uc i18n io; do
        printf 'Name: icu-%s\nDescription: ICU\nVersion: %s.1\n' "$component" "$1" \
            >"$work/pkgconfig/icu-$component.pc"
    done
}

configures() {
    rm -rf "$work/build"
    cmake -S "$project" -B "$work/build" -G Ninja -DCMAKE_CXX_COMPILER="$compiler" \
        -DCMAKE_PREFIX_PATH="$tree" -DICU_INCLUDE_DIR="$work/include" >"$work/log" 2>&1
}

is_satisfied() {
    PKG_CONFIG_PATH=$work/pkgconfig:$tree/$libdir/pkgconfig pkg-config --libs kelinfra >"$work/log" 2>&1
}

release "$built"
configures || { cat "$work/log"; echo "the release that it was built with is refused"; exit 1; }
is_satisfied || { cat "$work/log"; echo "pkg-config refuses the release that it was built with"; exit 1; }
for other in $((built - 1)) $((built + 1)) $((built * 10)); do
    release "$other"
    ! configures || { echo "ICU $other was taken"; exit 1; }
    said="kelinfra $version was built with ICU $built, but this is ICU $other.1 ($work/include)."
    tr -s ' \n' '  ' <"$work/log" | grep -F "$said" >/dev/null ||
        { cat "$work/log"; echo "'$said' was not said"; exit 1; }
    ! is_satisfied || { echo "pkg-config takes ICU $other"; exit 1; }
    grep -E 'icu-(uc|i18n|io)' "$work/log" >/dev/null || { cat "$work/log"; echo "ICU is not named"; exit 1; }
done
