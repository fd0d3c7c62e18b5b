#!/usr/bin/env bash
# standardsTest.sh COMPILER TREE LIBDIR TESTS WORK: every public header compiles as C++20 and C++23, and
# a second time after all of them, with many warnings. As C++17 everything else here compiles.
set -euo pipefail
compiler=$1 tree=$2 libdir=$3 tests=$4 work=$5

rm -rf "$work"
mkdir -p "$work"
for round in first second; do
    echo "// $round"
    sed 's|.*|#include <infra/&>|' "$tests/publicHeaders.txt"
done >"$work/all.cpp"
[ "$(grep -c '^#include' "$work/all.cpp")" -gt 60 ] || { echo "too few headers are listed"; exit 1; }
export PKG_CONFIG_PATH=$tree/$libdir/pkgconfig
read -ra flags <<<"$(pkg-config --cflags kelinfra)"
for standard in 20 2b; do
    "$compiler" "-std=c++$standard" -fsyntax-only -Wall -Wextra -Wpedantic -Wshadow -Werror "${flags[@]}" \
        "$work/all.cpp" || { echo "not as C++$standard"; exit 1; }
done
