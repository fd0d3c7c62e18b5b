#!/usr/bin/env bash
# multiarchTest.sh SOURCE WORK COMPILER: the pkg-config file finds its prefix from library folders of
# any depth, and keeps folders that are given as absolute paths.
set -euo pipefail
source_dir=$1 work=$2 compiler=$3

rm -rf "$work"
mkdir -p "$work"

# variable LIBDIR NAME [OPTION]...: what the file made for that library folder says in place.
variable() {
    local libdir=$1 name=$2
    shift 2
    cmake -S "$source_dir" -B "$work/build" -G Ninja -DCMAKE_CXX_COMPILER="$compiler" \
        -DKELINFRA_BUILD_TESTS=OFF -DKELINFRA_BUILD_EXAMPLES=OFF -DKELINFRA_BUILD_TOOLS=OFF \
        -DCMAKE_INSTALL_PREFIX=/opt/kelinfra -DCMAKE_INSTALL_LIBDIR="$libdir" "$@" >"$work/log" 2>&1 ||
        { cat "$work/log" >&2; return 1; }
    local folder=$work/usr/$libdir/pkgconfig
    mkdir -p "$folder"
    cp "$work/build/install/kelinfra.pc" "$folder"
    PKG_CONFIG_PATH=$folder pkg-config --variable="$name" kelinfra
}

expect() {
    [ "$1" = "$2" ] || { echo "'$1' is not '$2'"; exit 1; }
}

for libdir in lib lib64 lib/x86_64-linux-gnu; do
    expect "$(realpath -m "$(variable "$libdir" prefix)")" "$work/usr"
    expect "$(realpath -m "$(variable "$libdir" libdir)")" "$work/usr/$libdir"
    expect "$(realpath -m "$(variable "$libdir" includedir)")" "$work/usr/include"
done
expect "$(variable /elsewhere/lib prefix)" /opt/kelinfra
expect "$(variable /elsewhere/lib libdir)" /elsewhere/lib
