#!/usr/bin/env bash
# fetchContentTest.sh SOURCE WORK COMPILER LAUNCHER VERSION: a project that has CMake fetch the library's
# sources from a folder gets the library alone. What that builds, subdirectoryTest.sh shows.
set -euo pipefail
source_dir=$1 work=$2 compiler=$3 launcher=$4 version=$5

rm -rf "$work"
mkdir -p "$work"
{
    cmake -S "$source_dir/tests/install/subdirectory" -B "$work" -G Ninja \
        "-DWITH_FETCHCONTENT=SOURCE_DIR;$source_dir" -DCMAKE_CXX_COMPILER="$compiler" \
        -DCMAKE_CXX_COMPILER_LAUNCHER="$launcher"
    cmake --build "$work" --target outer_objects
} >"$work/log" 2>&1 || { cat "$work/log"; exit 1; }
ninja -C "$work" -t inputs outer | grep "libkelinfra.so.$version\$" >/dev/null ||
    { echo "the program does not link the library"; exit 1; }
extra=$(ninja -C "$work" -t targets all | grep -E '[.]cpp[.]o: ' |
    grep -vE '^(_deps/kelinfra-build/src/|CMakeFiles/outer_objects)' || true)
[ -z "$extra" ] || { printf 'built as well: %s\n' "$extra"; exit 1; }
