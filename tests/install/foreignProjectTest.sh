#!/usr/bin/env bash
# foreignProjectTest.sh cmake|pkgConfig COMPILER TREE LIBDIR WORK PROJECT VERSION: builds a project of
# somebody else against the installed tree, as C++17 and C++20, and runs it.
set -euo pipefail
tool=$1 compiler=$2 tree=$3 libdir=$4 work=$5 project=$6 version=$7

[ -e "$tree/$libdir/libkelinfra.so.1" ] || { echo "there is no installed tree at $tree"; exit 1; }
rm -rf "$work"
mkdir -p "$work"

use_cmake() {
    cmake -S "$project" -B "$work" -G Ninja -DCMAKE_CXX_COMPILER="$compiler" \
        -DCMAKE_PREFIX_PATH="$tree" -DCMAKE_CXX_FLAGS="-Wall -Wextra -Werror"
    cmake --build "$work"
}

use_pkgConfig() {
    export PKG_CONFIG_PATH=$tree/$libdir/pkgconfig
    pkg-config --exact-version="$version" kelinfra || { echo "pkg-config does not find $version"; return 1; }
    local standard
    for standard in 17 20; do
        # shellcheck disable=SC2046 # several words are meant
        "$compiler" "-std=c++$standard" -Wall -Wextra -Werror -o "$work/foreign$standard" \
            "$project/main.cpp" $(pkg-config --cflags --libs kelinfra)
    done
}

"use_$tool" >"$work/log" 2>&1 || { cat "$work/log"; exit 1; }
for standard in 17 20; do
    LD_LIBRARY_PATH=$tree/$libdir "$work/foreign$standard" >"$work/output" 2>"$work/errors"
    grep -qxF "1’234’567" "$work/errors" || { echo "nothing was printed to standard error"; exit 1; }
    diff "$work/output" - <<'END'
Base64Exception
X'01ff' 1.500000 1’234’567 frBE
café! 5
-- listing properties --
greeting=café!
port=x
word=café
80
PropertiesException ERR_PROPERTY_WRONG_TYPE: [] - [port] [x] [integer]
ERR_SOCKET_NOT_CONNECTED: [] - [] [0]
END
done
