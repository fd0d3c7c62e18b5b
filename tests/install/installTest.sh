#!/usr/bin/env bash
# installTest.sh SOURCE BUILD WORK TREE VERSION LIBDIR INCLUDEDIR DOCDIR PREFIX CONFIG: installs the build as if to
# PREFIX, checks that exactly the expected files are there, and moves the tree to TREE, where other tests use it.
set -euo pipefail
source_dir=$1 build_dir=$2 work=$3 tree=$4 version=$5 libdir=$6 includedir=$7 docdir=$8 prefix=$9
config=${10:-noconfig}

rm -rf "$work"
mkdir -p "$work"
cmake --install "$build_dir" --prefix "$work/prefix" >"$work/install.log" ||
    { cat "$work/install.log"; exit 1; }

expected() {
    sed "s|^|$includedir/infra/|" "$source_dir/tests/install/publicHeaders.txt"
    sed "s|^|$docdir/|" "$source_dir/tests/install/documents.txt"
    printf "$libdir/%s\n" \
        cmake/kelinfra/kelinfraConfig.cmake \
        cmake/kelinfra/kelinfraConfigVersion.cmake \
        cmake/kelinfra/kelinfraTargets.cmake \
        "cmake/kelinfra/kelinfraTargets-$config.cmake" \
        libkelinfra.so libkelinfra.so.1 "libkelinfra.so.$version" pkgconfig/kelinfra.pc
    # Below /usr, gdb trusts its own folder only.
    echo "$([ "$prefix" != /usr ] || echo share/gdb/auto-load/usr/)$libdir/libkelinfra.so.$version-gdb.py"
    local tool
    for tool in kelconv kelitem kelprops; do
        printf '%s\n' "bin/$tool" "share/bash-completion/completions/$tool" \
            "share/fish/vendor_completions.d/$tool.fish" "share/man/man1/$tool.1" \
            "share/zsh/site-functions/_$tool"
    done
}
# The manual is made on demand; docs-manual says which pages it has.
if grep -qx 'KELINFRA_MANUAL:BOOL=ON' "$build_dir/CMakeCache.txt"; then
    [ -s "$work/prefix/$docdir/html/index.html" ] || { echo "the manual is not installed"; exit 1; }
    rm -r "$work/prefix/${docdir:?}/html"
fi
(cd "$work/prefix" && find . ! -type d -printf '%P\n') | LC_ALL=C sort >"$work/installed.txt"
expected | LC_ALL=C sort | diff - "$work/installed.txt" ||
    { echo "expected (<) and installed (>) files differ"; exit 1; }

[ "$(readlink "$work/prefix/$libdir/libkelinfra.so")" = libkelinfra.so.1 ]
[ "$(readlink "$work/prefix/$libdir/libkelinfra.so.1")" = "libkelinfra.so.$version" ]
readelf -d "$work/prefix/$libdir/libkelinfra.so.$version" | grep -F 'soname: [libkelinfra.so.1]' >/dev/null ||
    { echo "the soname is not libkelinfra.so.1"; exit 1; }

if grep -rlF -e "$work/prefix" -e "$build_dir" "$work/prefix/$libdir/cmake" \
    "$work/prefix/$libdir/pkgconfig"; then
    echo "these files name the place where they were installed first, or the build"
    exit 1
fi
mv "$work/prefix" "$tree"

# Moved, the tools still find the library.
for tool in kelconv kelitem kelprops; do
    (unset LD_LIBRARY_PATH && "$tree/bin/$tool" --version) | grep -qx "$tool $version" ||
        { echo "$tool does not run"; exit 1; }
done
