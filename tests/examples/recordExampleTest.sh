#!/usr/bin/env bash
# recordExampleTest.sh CASE SERVER RESOLVER CLIENT: an address record on its way through a file.
set -euo pipefail

case_name=$1 server=$2 resolver=$3 client=$4
# shellcheck source=tests/examples/exampleTools.sh
. "$(dirname "${BASH_SOURCE[0]}")/exampleTools.sh"

start_server() {
    mkfifo ready
    "$server" --connections "$1" >ready 2>server.err &
    server_pid=$!
    exec 3<ready
    read -r port <&3 || fail "the server printed no port"
}

expect_server_output() {
    wait "$server_pid" || fail "the server ended with $?"
    server_pid=
    [ "$(cat <&3)" = "$1" ] || fail "the server did not say '$1'"
}

# run STATUS PROGRAM ARGUMENT...
run() {
    local expected=$1 status=0
    shift
    timeout 60 "$@" >run.out 2>run.err || status=$?
    [ "$status" -eq "$expected" ] || fail "'$*' ended with $status, not $expected"
}

expect_output() { [ "$(<run.out)" = "$1" ] || fail "the output is not '$1'"; }
expect_reports() {
    [ ! -s run.out ] || fail "something was printed"
    printf '%s\n' "$@" | cmp -s - run.err || fail "the reports are not '$*'"
}

exchange_from_a_record() {
    start_server 2
    run 0 "$resolver" 127.0.0.1 "$port" record
    expect_output "127.0.0.1, port $port: 1 address, 54 bytes used"
    [ "$(wc -c <record)" -eq 3000 ] || fail "the file is no record"
    run 0 "$client" record one two '' three
    expect_output "127.0.0.1, port $port: 4 items, all answers right"
    run 0 "$client" --timeout 5000 record x
    expect_output "127.0.0.1, port $port: 1 item, all answers right"
    expect_server_output "2 connections, 5 items, 12 bytes answered"
}

# Nobody asks the resolver: there is no host of that name.
record_of_another_host_name() {
    start_server 1
    run 0 "$resolver" 127.0.0.1 "$port" record
    printf 'x invalid' | dd of=record bs=1 seek=2 conv=notrunc 2>dd.err
    run 1 "$resolver" 'x invalid' "$port" other
    run 0 "$client" record text
    expect_output "x invalid, port $port: 1 item, all answers right"
    expect_server_output "1 connections, 1 items, 4 bytes answered"
}

# zeros COUNT
zeros() { head -c "$1" /dev/zero; }

# make_record USED: a record file of that used length; standard input goes behind the length.
make_record() {
    # shellcheck disable=SC2059
    { printf "\\x$(printf %02x $(($1 % 256)))\\x$(printf %02x $(($1 / 256)))" && cat; } >record
    truncate -s 3000 record
}

# entry FAMILY ADDRESS_LENGTH: an entry of 42 bytes with the port $port of 127.0.0.1.
entry() {
    # shellcheck disable=SC2059
    printf "\\x0\\x0\\x0\\x0\\x$1\\x0\\x0\\x0\\x1\\x0\\x0\\x0\\x6\\x0\\x0\\x0\\x$2\\x0\\x0\\x0\\x0\\x0\\x0\\x0"
    # shellcheck disable=SC2059
    printf "\\x2\\x0\\x$(printf %02x $((port / 256)))\\x$(printf %02x $((port % 256)))\\x7f\\x0\\x0\\x1"
    zeros 10
}

record_with_an_entry_that_cannot_be_tried() {
    start_server 1
    { printf 'h\0\1\0' && entry ff 10 && entry 2 10; } | make_record 88
    run 0 "$client" record text
    expect_output "h, port 1: 1 item, all answers right"
    expect_server_output "1 connections, 1 items, 4 bytes answered"
}

closed_port() {
    start_server 0
    run 0 "$resolver" 127.0.0.1 "$port" record
    kill "$server_pid"
    expect_server_output "0 connections, 0 items, 0 bytes answered"
    run 1 "$client" record text
    expect_reports "kelRecordClient: NX_ERR_SOCKET_CONNECTION_REFUSED: [] - [127.0.0.1] [$port]"
}

unknown_host() {
    run 1 "$resolver" '' 80 record
    expect_reports 'kelResolver: cannot resolve : Name or service not known'
    [ ! -e record ] || fail "a record was written"
    run 1 "$resolver" "$(zeros 2987 | tr '\0' 0)177.0.0.1" 80 record
    grep -q ': the name does not fit into a record$' run.err || fail "the host was not too long"
    run 1 "$resolver" "$(zeros 1991 | tr '\0' 0)177.0.0.1" 80 record
    expect_reports 'kelResolver: NX_ERR_SOCKET_ERROR: [] - [0]'
    [ ! -e record ] || fail "a record was written"
}

unwritable_file() {
    run 1 "$resolver" 127.0.0.1 80 nowhere/record
    expect_reports 'kelResolver: cannot write nowhere/record: No such file or directory'
    run 1 "$resolver" 127.0.0.1 80 /dev/full
    expect_reports 'kelResolver: cannot write /dev/full: No space left on device'
}

rows=0
# refused TITLE: the client refuses the file `record` with the library's own error.
refused() {
    rows=$((rows + 1))
    run 2 "$client" record text
    expect_reports 'kelRecordClient: record holds no usable address record' \
        'kelRecordClient: NX_ERR_SOCKET_ERROR: [] - [0]'
}

# refused_file FILE REPORT
refused_file() {
    rows=$((rows + 1))
    run 2 "$client" "$1" text
    expect_reports "kelRecordClient: $2"
}

broken_files() {
    port=80
    local used
    # No record, and lengths that the record has no room for.
    for used in 0 2999 32768 65535; do
        { printf 'h\0\1\0' && entry 2 10; } | make_record "$used"
        refused
    done
    # A host alone, whole and cut; a host without end.
    for used in 1 2 3 4; do
        printf 'h\0\1\0' | make_record "$used"
        refused
    done
    zeros 2998 | tr '\0' h | make_record 2998
    refused
    # Every cut of the entry, and a byte too many.
    for ((used = 5; used < 46; ++used)) do
        { printf 'h\0\1\0' && entry 2 10; } | make_record "$used"
        refused
    done
    { printf 'h\0\1\0' && entry 2 10; } | make_record 47
    refused
    # Lengths of the address that lead outside.
    for used in 11 20 ff; do
        { printf 'h\0\1\0' && entry 2 "$used"; } | make_record 46
        refused
    done
    # A second entry that is broken.
    { printf 'h\0\1\0' && entry 2 10 && entry 2 11; } | make_record 88
    refused
    # Letters and noise without sense.
    zeros 3000 | tr '\0' '\377' >record
    refused
    zeros 3000 >record
    refused
    # Files that are no record at all.
    : >empty
    refused_file empty 'empty does not hold the 3000 bytes of an address record'
    zeros 2999 >short
    refused_file short 'short does not hold the 3000 bytes of an address record'
    zeros 3001 >long
    refused_file long 'long does not hold the 3000 bytes of an address record'
    refused_file nowhere 'cannot read nowhere: No such file or directory'
    mkdir folder
    refused_file folder 'cannot read folder: Is a directory'
    [ "$rows" -eq 62 ] || fail "$rows files were tried"
}

expect_usage_error() {
    run 2 "$@"
    [ ! -s run.out ] || fail "something was printed"
    grep -qxF "Try '${1##*/} --help'." run.err || fail "the hint is missing"
}

wrong_usage() {
    expect_usage_error "$resolver"
    expect_usage_error "$resolver" 127.0.0.1 80
    expect_usage_error "$resolver" 127.0.0.1 80 record surplus
    expect_usage_error "$resolver" 127.0.0.1 65536 record
    expect_usage_error "$resolver" 127.0.0.1 http record
    expect_usage_error "$resolver" --no-such-option 127.0.0.1 80 record
    expect_usage_error "$client"
    expect_usage_error "$client" record
    expect_usage_error "$client" --timeout soon record text
    expect_usage_error "$client" --no-such-option record text
}

help() {
    local program
    for program in "$resolver" "$client"; do
        run 0 "$program" --help
        [[ $(head -n 1 run.out) == "Usage: ${program##*/} "* ]] || fail "the usage line is missing"
        [ ! -s run.err ] || fail "--help reported something"
    done
}

"$case_name"
