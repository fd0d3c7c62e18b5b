#!/usr/bin/env bash
# traceHostTest.sh CASE ARGUMENT...: what the trace host of the examples writes.
#
#     linked PROGRAM              a program that is linked with it
#     preloaded PROGRAM HOST      one that is not
#     installed PROGRAM TREE DOCDIR COMPILER   one that preloads what its installed source is built to
#     file PROGRAM                to the end of a file; to standard error where the file cannot be opened
#     names SOURCE DOCUMENT       its names are those of the table in docs/diagnostics.md
set -euo pipefail
case=$1 program=$2
here=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

# Times are those of the machine, threads get the numbers 1, 2, ... in the order in which they come, and
# stand one after the other.
normalised() {
    awk '{
        if (sub(/^ *[0-9]+\.[0-9][0-9][0-9][0-9][0-9][0-9] /, "") != 1) { print "no time: " $0; next }
        if (!($1 in number)) number[$1] = ++threads
        thread = number[$1]
        sub(/^[0-9]+/, thread)
        left = / < [^ ]+ [0-9]+\.[0-9][0-9][0-9][0-9][0-9][0-9]$/
        if (left) sub(/ [^ ]+$/, " TIME")
        lines[thread] = lines[thread] $0 "\n"
    } END { for (thread = 1; thread <= threads; thread++) printf "%s", lines[thread] }' "$1"
}

same() { diff "$here/trace.txt" <(normalised "$1") || { echo "expected (<) and written (>) trace differ"; exit 1; }; }
said() { diff <(printf '%s\n' caught 'errno is kept') "$1" || { echo "the program prints something else"; exit 1; }; }

unset KELINFRA_TRACE_FILE
case $case in
    linked)
        "$program" >"$work/output" 2>"$work/trace"
        said "$work/output"
        same "$work/trace"
        # Time goes on in each thread.
        awk '$1 + 0 < last[$2] + 0 { exit 1 } { last[$2] = $1 }' "$work/trace" || { echo "time goes back"; exit 1; }
        ;;
    preloaded | installed)
        host=$3
        if [ "$case" = installed ]; then
            host=$work/libkelinfra-trace-host.so
            "$5" -std=c++17 -O2 -fPIC -shared -o "$host" "$3/$4/examples/trace-host/kelTraceHost.cpp"
        fi
        "$program" >"$work/output" 2>"$work/trace"
        said "$work/output"
        [ ! -s "$work/trace" ] || { echo "traced without the host"; exit 1; }
        LD_PRELOAD=$host "$program" >"$work/output" 2>"$work/trace"
        said "$work/output"
        same "$work/trace"
        ;;
    file)
        echo 'what was there' >"$work/trace"
        KELINFRA_TRACE_FILE=$work/trace "$program" >"$work/output" 2>"$work/errors"
        said "$work/output"
        [ ! -s "$work/errors" ] || { echo "there is something on standard error"; exit 1; }
        [ "$(head -n 1 "$work/trace")" = 'what was there' ] || { echo "the file is not kept"; exit 1; }
        same <(tail -n +2 "$work/trace")
        KELINFRA_TRACE_FILE=$work/none/trace "$program" >"$work/output" 2>"$work/errors"
        said "$work/output"
        [ "$(head -n 1 "$work/errors")" = "kelinfra-trace-host: $work/none/trace: No such file or directory" ] ||
            { echo "the error is not reported"; exit 1; }
        same <(tail -n +2 "$work/errors")
        ;;
    names)
        awk -F'|' '/^\| 4839[0-9]+ \|/ {
            class = $3
            gsub(/[` ]/, "", class)
            name = class
            if ($4 ~ / destructor/) name = "~" class
            else if ($4 !~ / constructor/) { match($4, /`[^`]+`/); name = substr($4, RSTART + 1, RLENGTH - 2) }
            print class "::" name
        }' "$3" >"$work/documented"
        [ "$(wc -l <"$work/documented")" -eq 96 ] || { echo "the document has no table"; exit 1; }
        sed -n 's/^    "\([^"]*\)",$/\1/p' "$2" | diff "$work/documented" - ||
            { echo "documented (<) and written (>) names differ"; exit 1; }
        ;;
esac
