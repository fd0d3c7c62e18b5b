#!/usr/bin/env bash
# exampleTest.sh CASE SERVER CLIENT QUICKSTART SETTINGS: one scripted exchange between the example programs.
set -euo pipefail

case_name=$1 server=$2 client=$3 quick_start=$4 sample=$5
# shellcheck source=tests/examples/exampleTools.sh
. "$(dirname "${BASH_SOURCE[0]}")/exampleTools.sh"

# Starts the server and waits for its first line, the port.
start_server() {
    mkfifo ready
    "$server" "$@" >ready 2>server.err &
    server_pid=$!
    exec 3<ready
    read -r port <&3 || fail "the server printed no port"
    [[ $port =~ ^[1-9][0-9]*$ ]] || fail "the first line is '$port', not a port"
}

# The server ends by itself or after a signal, with the given status.
expect_server_end() {
    local status=0
    wait "$server_pid" || status=$?
    server_pid=
    [ "$status" -eq "$1" ] || fail "the server ended with $status, not $1"
    cat <&3 >server.out
}

expect_server_output() {
    [ "$(<server.out)" = "$1" ] || fail "the server printed '$(<server.out)', not '$1'"
    [ "$(<server.err)" = "${2-}" ] || fail "the server reported '$(<server.err)', not '${2-}'"
}

run_client() {
    local expected=$1 status=0
    shift
    "$client" "$@" >client.out 2>client.err || status=$?
    [ "$status" -eq "$expected" ] || fail "the client ended with $status, not $expected"
}

expect_report() { grep -qxF -- "$1" "$2" || fail "'$1' is missing in $2"; }

# One file, one connection: the counts that both sides print.
exchange() {
    local items=$1 bytes=$2
    shift 2
    start_server --connections 1
    run_client 0 "$@" "$port" file
    grep -qE "^file: $items items, $bytes bytes, all answers right, [0-9.]+ s, [0-9]+ items/s, [0-9.]+ MB/s$" client.out ||
        fail "unexpected counts"
    [ ! -s client.err ] || fail "the client reported something"
    expect_server_end 0
    expect_server_output "1 connections, $items items, $bytes bytes answered"
}

# A server that is none: answers the first item with the given bytes and ends the connection.
start_impostor() {
    command -v perl >perl.out || { echo "perl is missing"; exit 1; }
    mkfifo ready
    perl -MIO::Socket::INET -e '
        my $listener = IO::Socket::INET->new(Listen => 1, LocalAddr => "127.0.0.1") or die;
        $| = 1;
        print $listener->sockport, "\n";
        my $peer = $listener->accept or die;
        sysread $peer, my $request, 7;
        syswrite $peer, pack("H*", $ARGV[0]);
        shutdown $peer, 1;
        sysread $peer, $request, 1;
    ' "$1" >ready &
    helper_pid=$!
    exec 3<ready
    read -r port <&3
}

start_another_impostor() {
    exec 3<&-
    rm ready
    disown "$helper_pid" 2>/dev/null || true
    kill "$helper_pid" 2>/dev/null || true
    start_impostor "$1"
}

text_file() {
    printf 'one\ntwo\nthree\n' >file
    exchange 3 11
}

text_without_last_newline() {
    printf 'one\ntwo' >file
    exchange 2 6
}

empty_file() {
    : >file
    exchange 0 0
}

empty_lines() {
    printf '\n\nx\n\n' >file
    exchange 4 1
}

# All 256 bytes a hundred times over: one newline, and so one line, for each time.
file_with_every_byte() {
    local byte
    for byte in $(seq 0 255); do
        # shellcheck disable=SC2059
        printf "\\x$(printf %02x "$byte")"
    done >every
    for _ in $(seq 100); do cat every; done >file
    [ "$(wc -c <file)" -eq 25600 ] || fail "the file is not what it should be"
    exchange 101 25500
}

whole_empty_file() {
    : >file
    exchange 1 0 --whole
}

item_of_32_MiB() {
    head -c 33554432 /dev/zero | tr '\0' '\n' >file
    exchange 1 33554432 --whole
}

two_files_on_one_connection() {
    printf 'a\nb\n' >first
    printf 'c\n' >second
    start_server --connections 1
    run_client 0 "$port" first second
    [ "$(cut -d, -f1 client.out)" = $'first: 2 items\nsecond: 1 items' ] || fail "unexpected counts"
    expect_server_end 0
    expect_server_output "1 connections, 3 items, 3 bytes answered"
}

several_clients_at_once() {
    seq 2000 >file
    start_server --connections 4
    local pids=() pid
    for pid in 1 2 3 4; do
        "$client" "$port" file >"client$pid.out" 2>&1 &
        pids+=($!)
    done
    for pid in "${pids[@]}"; do
        wait "$pid" || fail "a client failed"
    done
    expect_server_end 0
    expect_server_output "4 connections, 8000 items, 27572 bytes answered"
}

item_at_the_bound() {
    printf '12345678\n' >file
    start_server --connections 1 --max-item 8
    run_client 0 "$port" file
    expect_server_end 0
    expect_server_output "1 connections, 1 items, 8 bytes answered"
}

item_above_the_bound() {
    printf '123456789\n' >file
    start_server --connections 1 --max-item 8
    run_client 1 "$port" file
    grep -qE "^kelItemClient: (ERR_SOCKET_CLOSED|NX_ERR_SOCKET_CONNECTION_RESET): \[\] - \[127\.0\.0\.1\] \[$port\]$" client.err ||
        fail "the client reported something else"
    expect_server_end 0
    expect_server_output "1 connections, 0 items, 0 bytes answered" \
        "kelItemServer: ERR_DEST_BUFFER_TOO_SMALL: [] - [8] [9]"
}

wrong_answer() {
    printf 'abc\n' >file
    start_impostor 00000003616263
    run_client 0 "$port" file
    start_another_impostor 00000003616264
    run_client 1 "$port" file
    expect_report "kelItemClient: the answer differs from the item" client.err
}

answer_of_another_length() {
    printf 'abc\n' >file
    start_impostor 0000000461626364
    run_client 1 "$port" file
    expect_report "kelItemClient: ERR_DEST_BUFFER_TOO_SMALL: [] - [3] [4]" client.err
    start_another_impostor 000000026162
    run_client 1 "$port" file
    expect_report "kelItemClient: the answer differs from the item" client.err
    start_another_impostor 000000036162
    run_client 1 "$port" file
    expect_report "kelItemClient: the server closed in the middle of an answer" client.err
}

missing_file() {
    start_server --connections 1
    run_client 1 "$port" nowhere
    expect_report "kelItemClient: cannot read nowhere: No such file or directory" client.err
    expect_server_end 0
}

directory() {
    mkdir folder
    start_server --connections 1
    run_client 1 "$port" folder
    expect_report "kelItemClient: cannot read folder: Is a directory" client.err
    expect_server_end 0
}

closed_port() {
    printf 'x\n' >file
    start_server
    kill "$server_pid"
    expect_server_end 0
    run_client 1 "$port" file
    expect_report "kelItemClient: NX_ERR_SOCKET_CONNECTION_REFUSED: [] - [127.0.0.1] [$port]" client.err
    [ ! -s client.out ] || fail "the client printed something"
}

port_in_use() {
    start_server
    local status=0
    "$server" --port "$port" >second.out 2>second.err || status=$?
    [ "$status" -eq 1 ] || fail "the second server ended with $status"
    expect_report "kelItemServer: cannot listen on port $port" second.err
    expect_report "kelItemServer: NX_ERR_SOCKET_ADDRESS_IN_USE: [] - [localhost] [0]" second.err
}

stop_by_signal() {
    local signal
    for signal in TERM INT; do
        # A shell without job control lets its background programs ignore SIGINT; the server sets
        # its own handler nevertheless.
        start_server
        kill "-$signal" "$server_pid"
        expect_server_end 0
        expect_server_output "0 connections, 0 items, 0 bytes answered"
        exec 3<&-
        rm ready
    done
}

# A client that neither sends nor closes does not keep the server from stopping.
stop_with_a_connected_client() {
    start_server
    exec 4<>"/dev/tcp/127.0.0.1/$port"
    printf '\0\0\0\1x' >&4
    # The answer shows that a thread serves this connection.
    [ "$(head -c 5 <&4 | od -An -tx1)" = " 00 00 00 01 78" ] || fail "the answer is wrong"
    kill "$server_pid"
    expect_server_end 0
    expect_server_output "1 connections, 1 items, 1 bytes answered"
}

# Each client has been answered, so each has a thread, and all of them go on waiting.
stop_with_several_clients() {
    local client answer
    start_server
    for client in 4 5 6 7; do
        eval "exec $client<>/dev/tcp/127.0.0.1/$port"
        printf '\0\0\0\2xy' >&$client
        answer=$(head -c 6 <&$client | od -An -tx1)
        [ "$answer" = " 00 00 00 02 78 79" ] || fail "the answer is $answer"
    done
    kill "$server_pid"
    expect_server_end 0
    expect_server_output "4 connections, 4 items, 8 bytes answered"
    for client in 4 5 6 7; do
        [ "$(head -c 1 <&$client | wc -c)" -eq 0 ] || fail "connection $client is still open"
    done
}

# The client is not to blame that its item does not come to its end.
stop_in_the_middle_of_an_item() {
    start_server
    exec 4<>"/dev/tcp/127.0.0.1/$port"
    printf '\0\0\0\1x\0\0\0\144abc' >&4
    [ "$(head -c 5 <&4 | od -An -tx1)" = " 00 00 00 01 78" ] || fail "the answer is wrong"
    kill "$server_pid"
    expect_server_end 0
    expect_server_output "1 connections, 1 items, 1 bytes answered"
}

stop_while_items_are_exchanged() {
    start_server
    exec 4<>"/dev/tcp/127.0.0.1/$port"
    (while printf '\0\0\0\1x'; do :; done) >&4 2>/dev/null &
    helper_pid=$!
    [ "$(head -c 50000 <&4 | wc -c)" -eq 50000 ] || fail "10,000 answers are missing"
    kill "$server_pid"
    expect_server_end 0
    grep -qE '^1 connections, [0-9]{5,} items, [0-9]{5,} bytes answered$' server.out || fail "unexpected counts"
    [ ! -s server.err ] || fail "the server reported something"
}

# exchange_with_settings ITEMS BYTES: both programs read `settings`, whose text the client sends.
exchange_with_settings() {
    export LC_ALL=C
    start_server --settings settings --connections 1
    run_client 0 --settings settings "$port"
    [ ! -s client.err ] || fail "the client reported something"
    expect_server_end 0
    expect_server_output "1 connections, $1 items, $2 bytes answered"
}

settings_with_required_keys_only() {
    printf 'host=127.0.0.1\nport=0' >settings
    printf 'one\ntwo\n' >file
    start_server --settings settings --connections 1
    LC_ALL=C run_client 0 --settings settings "$port" file
    expect_report "Server: 127.0.0.1, port $port, without delay, connected within 5,000 ms" client.out
    expect_report "Rounds: 1, of a share of 1 of the lines" client.out
    expect_report "file: UTF-8 text of 8 characters" client.out
    grep -q '^Greeting' client.out && fail "there is no greeting to send"
    expect_server_end 0
    expect_server_output "1 connections, 2 items, 6 bytes answered"
}

settings_with_references_three_levels_deep() {
    printf 'x\n' >file
    printf '%s\n' 'host = %address%' 'address = %net%.1' 'net = %first%.0.0' 'first = 127' \
        'port = 0' 'text.1 = %settings.folder%/file' 'greeting = to %host%' >settings
    exchange_with_settings 2 13
    expect_report "Greeting of 12 characters, 12 bytes, answered: to 127.0.0.1" client.out
    grep -q '^\./file: 1 items' client.out || fail "the text of the settings was not sent"
}

settings_with_cr_lf() {
    printf 'x\n' >file
    printf '# a comment\r\nhost=127.0.0.1\r\nport=0\r\n\r\ntcp.nodelay=off\r\ntext.1=file\r\n' >settings
    exchange_with_settings 1 1
    grep -q ', with delay,' client.out || fail "the delay was not asked for"
}

settings_with_escapes() {
    printf 'x\n' >'a=b c'
    printf '%s\n' 'h\u006fst = 127.0.0.1' 'port: 0' 'text.1 = a\=b c' \
        'greeting = Gr\u00FC\u00DFe\u2713' >settings
    exchange_with_settings 2 11
    expect_report "Greeting of 6 characters, 10 bytes, answered: Grüße✓" client.out
}

settings_with_continued_lines() {
    printf 'x\n' >file
    # shellcheck disable=SC1003 # backslashes at the end are what this is about
    printf '%s\n' 'host = 127.\' '       0.0.1' 'po\' '  rt = 0' 'text.1 = \' '    file' >settings
    exchange_with_settings 1 1
}

settings_with_a_last_comment() {
    printf 'x\n' >file
    printf 'host=127.0.0.1\nport=0\ntext.1=file\n# the end' >settings
    exchange_with_settings 1 1
}

settings_with_rounds_and_share() {
    seq 10 >file
    printf '%s\n' 'host = 127.0.0.1' 'port = 0' 'rounds = 3' 'lines.share = 0.5' 'text.1 = file' >settings
    exchange_with_settings 15 18
    expect_report "Rounds: 3, of a share of 0.5 of the lines" client.out
}

settings_with_a_line_of_1_MiB() {
    {
        printf 'host = 127.0.0.1\nport = 0\ntext.1 = %s\ngreeting = ' settings
        head -c 1048576 /dev/zero | tr '\0' x
        printf '\nlines.share = 0.25\n'
    } >settings
    exchange_with_settings 2 2097163
}

settings_below_a_small_largest_item() {
    printf '123456789\n' >file
    printf '%s\n' 'host = 127.0.0.1  ' 'port = 0' 'item.largest = 8' 'text.1 = file' >settings
    start_server --settings settings --connections 1
    run_client 1 --settings settings "$port"
    expect_server_end 0
    expect_server_output "1 connections, 0 items, 0 bytes answered" \
        "kelItemServer: ERR_DEST_BUFFER_TOO_SMALL: [] - [8] [9]"
}

settings_are_overruled_by_options() {
    printf 'one\n' >file
    printf '%s\n' 'host = 192.0.2.1' 'port = 1' 'item.largest = 1' 'connect.timeout = 1' 'text.1 = nowhere' >settings
    start_server --settings settings --connections 1 --port 0 --max-item 8
    LC_ALL=C run_client 0 --host 127.0.0.1 --timeout 6000 --settings settings "$port" file
    expect_report "Server: 127.0.0.1, port $port, without delay, connected within 6,000 ms" client.out
    expect_server_end 0
    expect_server_output "1 connections, 1 items, 3 bytes answered"
}

settings_in_the_numbers_of_a_locale() {
    printf 'caf\303\251\n' >file
    printf '\377\n' >bytes
    printf '%s\n' 'host = 127.0.0.1' 'port = 0' 'text.1 = file' 'text.2 = bytes' >settings
    start_server --settings settings --connections 1
    LC_ALL=de_DE.UTF-8 run_client 0 --settings settings "$port"
    grep -q ' connected within 5\.000 ms$' client.out || fail "the number is not German"
    expect_report "file: UTF-8 text of 5 characters" client.out
    expect_report "bytes: not UTF-8 text" client.out
    expect_server_end 0
}

settings_with_a_text_that_cannot_be_read() {
    local text reason status
    mkdir folder
    while read -r text reason; do
        printf 'host = h\nport = 1\ntext.1 = settings\ntext.2 = %s\n' "$text" >settings
        status=0
        "$client" --settings settings >client.out 2>client.err || status=$?
        [ "$status" -eq 2 ] || fail "the client ended with $status, not 2"
        [ ! -s client.out ] || fail "the client printed something"
        expect_report "kelItemClient: TEXT_UNREADABLE: [] - [$text] [$reason]" client.err
    done <<'END'
nowhere No such file or directory
folder Is a directory
END
}

settings_of_the_sample() {
    start_server --settings "$sample" --connections 1
    LC_ALL=C run_client 0 --settings "$sample" "$port"
    expect_report "Greeting of 64 characters, 68 bytes, answered: Grüße from a client of 127.0.0.1, who sends every text 1 times ✓" client.out
    [ "$(grep -c 'all answers right' client.out)" -eq 3 ] || fail "three texts were to be sent"
    expect_server_end 0
    [ ! -s server.err ] || fail "the server reported something"
}

settings_that_are_only_checked() {
    printf 'host = h\nport = 0\ntext.1 = settings\n' >settings
    local program
    for program in "$server" "$client"; do
        "$program" --settings settings --check >check.out 2>check.err || fail "--check ended with $?"
        if [ -s check.out ] || [ -s check.err ]; then fail "--check printed something"; fi
    done
    expect_usage_error "$client" --settings settings
    expect_report "kelItemClient: a port is needed" usage.err
    printf 'host = h\nport = 1\n' >settings
    expect_usage_error "$client" --settings settings --check
    expect_report "kelItemClient: at least one file is needed" usage.err
}

# expect_usage_error PROGRAM ARGUMENT...: exit status 2, a hint, nothing on standard output.
expect_usage_error() {
    local status=0 program=$1
    "$@" >usage.out 2>usage.err || status=$?
    [ "$status" -eq 2 ] || fail "'$*' ended with $status, not 2"
    [ ! -s usage.out ] || fail "'$*' printed something"
    expect_report "Try '${program##*/} --help'." usage.err
}

wrong_usage() {
    expect_usage_error "$server" --no-such-option
    expect_usage_error "$server" --port
    expect_usage_error "$server" --port 65536
    expect_usage_error "$server" --port -1
    expect_usage_error "$server" --port ""
    expect_usage_error "$server" --max-item 4294967296
    expect_usage_error "$server" --connections 18446744073709551616
    expect_usage_error "$server" surplus
    expect_usage_error "$client"
    expect_usage_error "$client" 80
    expect_usage_error "$client" port file
    expect_usage_error "$client" 80x file
    expect_usage_error "$client" --timeout soon 80 file
    expect_report "kelItemClient: --timeout must be a number from 0 to 4294967296, not 'soon'" usage.err
    expect_usage_error "$client" --no-such-option 80 file
}

help() {
    local program
    for program in "$server" "$client"; do
        "$program" --help >help.out 2>help.err || fail "--help ended with $?"
        [[ $(head -n 1 help.out) == "Usage: ${program##*/} "* ]] || fail "the usage line is missing"
        [ ! -s help.err ] || fail "--help reported something"
    done
}

quick_start() {
    "$quick_start" >quick.out 2>quick.err || fail "it ended with $?"
    printf '%s\n' 'hello, 127.0.0.1' \
        'ERR_PROPERTY_WRONG_TYPE: [] - [greeting] [hello, 127.0.0.1] [integer]' | diff - quick.out
}

"$case_name"
