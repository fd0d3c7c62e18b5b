#!/usr/bin/env bash
# fiveMinutesTest.sh TOOL COMPILER TREE LIBDIR WORK START: the commands of the guide's first page, "cmake" or
# "pkg-config", build its program in an empty folder against the installed tree, and it prints what is shown.
set -euo pipefail
tool=$1 compiler=$2 tree=$3 libdir=$4 work=$5 start=$6
[ -e "$tree/$libdir/libkelinfra.so.1" ] || { echo "there is no installed tree at $tree"; exit 1; }
rm -rf "$work"
mkdir -p "$work/bin"
cp "$start/kelFirst.cpp" "$start/CMakeLists.txt" "$work"

# Where a package would have put everything, so that the commands can be those of the page.
export CMAKE_PREFIX_PATH=$tree PKG_CONFIG_PATH=$tree/$libdir/pkgconfig LD_LIBRARY_PATH=$tree/$libdir
export CXX=$compiler PATH=$work/bin:$PATH
ln -s "$(command -v "$compiler")" "$work/bin/g++"

cd "$work"
bash -e "$start/build-with-$tool.sh" >"$work/log" 2>&1 || { cat "$work/log"; exit 1; }
tail -n "$(wc -l <"$start/kelFirst.txt")" "$work/log" | diff "$start/kelFirst.txt" -
