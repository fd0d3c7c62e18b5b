#!/usr/bin/env bash
# subdirectoryTest.sh SOURCE WORK COMPILER LAUNCHER VERSION: a project that adds the library's sources to its
# own build gets the library alone: no tests, no examples, no installation, no flags.
set -euo pipefail
source_dir=$1 work=$2 compiler=$3 launcher=$4 version=$5

rm -rf "$work"
mkdir -p "$work"
{
    cmake -S "$source_dir/tests/install/subdirectory" -B "$work" -G Ninja \
        -DKELINFRA_SOURCE_DIR="$source_dir" -DCMAKE_CXX_COMPILER="$compiler" \
        -DCMAKE_CXX_COMPILER_LAUNCHER="$launcher"
    cmake --build "$work"
} >"$work/log" 2>&1 || { cat "$work/log"; exit 1; }
"$work/outer" | grep -x 'ERR_SOCKET_NOT_CONNECTED: \[\] - \[\] \[0\]' >/dev/null
(cd "$work" && ctest -N) | grep -x 'Total Tests: 0' >/dev/null || { echo "tests came along"; exit 1; }
executables=$(find "$work" -type f -executable ! -path '*/CMakeFiles/*' -printf '%f\n' | sort | xargs)
[ "$executables" = "libkelinfra.so.$version outer" ] || { echo "built: $executables"; exit 1; }
