#!/usr/bin/env bash
# debugPrintersTest.sh CASE COMPILER TREE LIBDIR VERSION WORK: what gdb shows of the library's objects, in a
# program that uses the installed tree, whose printers gdb loads by itself.
#
#     library    the library has its debug information; and from core files
#     live       the same without core files
#     program    it has none, and the program is compiled to have all
set -euo pipefail
case=$1 compiler=$2 tree=$3 libdir=$4 version=$5 work=$6
here=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)

skip() { echo "skipped: $*"; exit 77; }

# Neither settings of the user nor debug information from the network.
export LC_ALL=C.UTF-8 DEBUGINFOD_URLS=
# Where a container forbids to place programs at fixed addresses, they may be anywhere.
debug() {
    gdb -nx -batch -iex "set disable-randomization off" -iex "add-auto-load-safe-path $library" "$@" 2>&1 </dev/null ||
        echo "gdb failed"
}

library=
command -v gdb >/dev/null || skip "there is no gdb (package gdb)"
debug -ex 'python print("Python", 6 * 7)' | grep -x 'Python 42' >/dev/null || skip "gdb has no Python"
debug -ex run /bin/true | grep 'exited normally' >/dev/null || skip "gdb may not run a program here"

rm -rf "$work"
mkdir -p "$work"
library=$tree/$libdir
flags=()
if [ "$case" = program ]; then
    library=$(realpath "$work")/lib
    mkdir "$library"
    cp "$tree/$libdir/libkelinfra.so.$version"* "$library"
    strip --strip-debug "$library/libkelinfra.so.$version"
    ln -s "libkelinfra.so.$version" "$library/libkelinfra.so.1"
    flags=(-femit-class-debug-always)
    [[ $compiler != *clang* ]] || flags=(-fstandalone-debug)
fi
"$compiler" -std=c++17 -g -O0 "${flags[@]}" -I "$tree/include" -o "$work/program" \
    "$here/kelPrinterProgram.cpp" "$library/libkelinfra.so.1" -licuuc -pthread -Wl,-rpath,"$library"

# Ports and descriptors are the system's, the folder is that of the test.
normalised() {
    sed -E "s|$library/|LIBRARY/|; s/(port = )[1-9][0-9]*/\1N/; s/(descriptor )[0-9]+/\1N/
        /^\[Thread debugging using|^Using host libthread_db|^Breakpoint 1[ :]|^\[Inferior 1 /d
        /^(\[New )?LWP |^\[New LWP|^Core was generated|^Program terminated|^#0 |^\[Current thread/d; /^[0-9].* printers? (en|dis)abled\$/d; /^[0-9]+\t/d; /^warning: Memory read failed/d; /^\$/d"
}

cd "$work"
debug -x "$here/printers.gdb" ./program | normalised >printers.txt
diff "$here/printers.txt" printers.txt || { echo "expected (<) and shown (>) text differ"; exit 1; }
[ "$case" = library ] || exit 0
debug -x "$here/cores.gdb" ./program | normalised >cores.txt
diff "$here/cores.txt" cores.txt || { echo "expected (<) and shown (>) text differ, from core files"; exit 1; }
