#!/usr/bin/env bash
# abiCompareTest.sh SOURCE COMPILER: scripts/abi-compare passes what programs do not notice, and fails on
# what breaks them, shown with a small library.
set -euo pipefail
source_dir=$1 compiler=$2

command -v abidiff >/dev/null || { echo "skipped: there is no libabigail (package abigail-tools)"; exit 77; }
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
mkdir "$work/include"
cat >"$work/include/box.h" <<'END'
#pragma once
#define EXPORT __attribute__((visibility("default")))
struct Inside;
class EXPORT Box {
public:
    explicit Box(int width);
    virtual ~Box();
    virtual int area() const;
    int width() const;
private:
    Inside* inside_;
    int width_;
};
EXPORT int boxes();
END
cat >"$work/box.cpp" <<'END'
#include "box.h"
struct Inside { int uses; };
Box::Box(int width) : inside_(new Inside{0}), width_(width) {}
Box::~Box() { delete inside_; }
int Box::area() const { return width_ * width_ + inside_->uses; }
int Box::width() const { return width_; }
int boxes() { return 1; }
END

# build NAME [SED-SCRIPT]: the library of that name, out of the sources as the script changes them.
build() {
    mkdir -p "$work/$1/include"
    sed -E "${2-}" "$work/include/box.h" >"$work/$1/include/box.h"
    sed -E "${2-}" "$work/box.cpp" >"$work/$1/box.cpp"
    "$compiler" -g -shared -fPIC -fvisibility=hidden -Wl,-soname,libbox.so.1 -I"$work/$1/include" \
        -o "$work/$1/libbox.so" "$work/$1/box.cpp"
}

failed=0
# expect STATUS SAID NAME [SED-SCRIPT]
expect() {
    local status=0
    build "$3" "${4-}"
    "$source_dir/scripts/abi-compare" --pair "$work/record.xml" "$work/$3/libbox.so" "$work/$3/include" \
        >"$work/$3/output" 2>&1 || status=$?
    if [ "$status" -ne "$1" ] || ! grep -F -- "$2" "$work/$3/output" >/dev/null; then
        echo "$3: ended with $status, not $1 and '$2':"
        cat "$work/$3/output"
        failed=1
    fi
}

build recorded
"$source_dir/scripts/abi-compare" --pair --record "$work/record.xml" "$work/recorded/libbox.so" \
    "$work/recorded/include"
expect 0 'is the recorded one' unchanged
expect 0 'is the recorded one' changed-inside 's/int uses/long uses, frees/'
expect 0 'has grown' added-function 's/^(EXPORT )?int boxes\(\)(.*)$/&\n\1int crates()\2/'
expect 1 'is broken' removed-function '/boxes/d'
expect 1 'is broken' hidden-function 's/^EXPORT int boxes/int boxes/'
expect 1 'is broken' changed-size 's/int width_;/long width_;/'
expect 1 'is broken' changed-order 's/Inside\* inside_;/int width_;/; t; s/^    int width_;/    Inside* inside_;/'
expect 1 'is broken' changed-result 's/int boxes/long boxes/'
expect 1 'is broken' added-virtual 's/^    virtual int area.*/    virtual int rim() const { return 0; }\n&/'
exit "$failed"
