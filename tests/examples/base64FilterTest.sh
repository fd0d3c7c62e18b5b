#!/usr/bin/env bash
# base64FilterTest.sh CASE FILTER: the filter on one kind of input.
set -euo pipefail

case_name=$1 filter=$2
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
cd "$work"

fail() {
    echo "FAILED: $*"
    head -c 1000 ./out ./err 2>/dev/null || true
    exit 1
}

# expect STATUS INPUT OUTPUT ERROR OPTION...: texts as printf writes them.
expect() {
    local status=0
    printf '%b' "$2" >in
    "$filter" "${@:5}" <in >out 2>err || status=$?
    [ "$status" -eq "$1" ] || fail "'$2' ended with $status, not $1"
    printf '%b' "$3" | cmp - out || fail "'$2' gave something else than '$3'"
    [ "$(<err)" = "${4:+kelBase64Filter: $4}" ] || fail "'$2' reported something else than '$4'"
}

round_trip() {
    local options=("$@")
    "$filter" "${options[@]}" <data >text || fail "encoding failed"
    # shellcheck disable=SC2017 # groups of three bytes, the last one filled up
    [ "$(wc -c <text)" -eq $((($(wc -c <data) + 2) / 3 * 4)) ] || fail "the text has another length"
    "$filter" --decode "${options[@]}" <text | cmp - data || fail "the bytes differ"
}

encode() {
    expect 0 '' '' ''
    expect 0 'A' 'QQ==' ''
    expect 0 'AB' 'QUI=' ''
    expect 0 'ABC' 'QUJD' ''
    expect 0 '\xFB\xFF\xBF' '+/+/' ''
    expect 0 '\xFB\xFF\xBF' '-_-_' '' --url
}

decode() {
    expect 0 '' '' '' --decode
    expect 0 'QQ==' 'A' '' --decode
    expect 0 'QUI=' 'AB' '' -d
    expect 0 '+/+/' '\xFB\xFF\xBF' '' --decode
    expect 0 '-_-_' '\xFB\xFF\xBF' '' --decode --url
}

line_end() {
    local end
    for end in '\n' '\r\n'; do
        expect 0 "$end" '' '' --decode
        expect 0 "QQ==$end" 'A' '' --decode
        expect 0 "QUI=$end" 'AB' '' --decode
        expect 0 "QUJD$end" 'ABC' '' --decode
        expect 0 "-_-_$end" '\xFB\xFF\xBF' '' --decode --url
        expect 1 "QUJD$end$end" '' 'ERR_BASE64_INVALID_DATA: [] - [?]' --decode
        expect 1 "${end}QUJD" '' 'ERR_BASE64_INVALID_DATA: [] - [?]' --decode
        expect 1 "QUJD${end}QUJD" '' 'ERR_BASE64_INVALID_DATA: [] - [?]' --decode
        expect 1 "QUJD $end" '' 'ERR_BASE64_INVALID_DATA: [] - [ ]' --decode
        expect 1 "QQ$end" '' 'ERR_BASE64_MISALIGNED_DATA: [] - [QQ]' --decode
    done
    expect 1 'QQ==\n\n' '' 'ERR_BASE64_MISALIGNED_DATA: [] - [QQ==?]' --decode
    expect 1 'QQ==\r' '' 'ERR_BASE64_MISALIGNED_DATA: [] - [QQ==?]' --decode
    expect 1 'QUJD\r' '' 'ERR_BASE64_INVALID_DATA: [] - [?]' --decode
    expect 1 'QUJD\r\r\n' '' 'ERR_BASE64_INVALID_DATA: [] - [?]' --decode
    expect 1 'QUJD\n\r' '' 'ERR_BASE64_INVALID_DATA: [] - [?]' --decode
}

# Texts that end around the end of a piece, with nothing, a line end, and more behind them.
line_end_between_pieces() {
    local size status end more
    for size in 49147 49149 49150 49151 49152 49153; do
        head -c "$size" /dev/urandom >data
        "$filter" <data >text
        for end in '\n' '\r\n'; do
            { cat text; printf '%b' "$end"; } | "$filter" --decode | cmp - data ||
                fail "$size bytes and '$end' give something else"
            for more in ' ' '\n' 'QUJD'; do
                status=0
                { cat text; printf '%b' "$end$more"; } | "$filter" --decode >out 2>err || status=$?
                [ "$status" -eq 1 ] || fail "$size bytes, '$end' and '$more' were taken"
            done
        done
    done
}

bad_data() {
    expect 1 'QQ' '' 'ERR_BASE64_MISALIGNED_DATA: [] - [QQ]' --decode
    expect 1 'QR==' '' 'ERR_BASE64_MISALIGNED_DATA: [] - [QR==]' --decode
    expect 1 'QU JD' '' 'ERR_BASE64_INVALID_DATA: [] - [ ]' --decode
    expect 1 'QU!D' '' 'ERR_BASE64_INVALID_DATA: [] - [!]' --decode
    expect 1 'QU\xC4D' '' 'ERR_BASE64_INVALID_DATA: [] - [Ä]' --decode
    expect 1 '-_-_' '' 'ERR_BASE64_INVALID_DATA: [] - [-]' --decode
    expect 1 '+/+/' '' 'ERR_BASE64_INVALID_DATA: [] - [+]' --decode --url
}

# Sizes around those of the pieces in which the filter works.
large_input() {
    local size
    for size in 49151 49152 49153 98304 1000001; do
        head -c "$size" /dev/urandom >data
        round_trip
        round_trip --url
    done
}

input_that_comes_slowly() {
    { printf 'QU'; sleep 0.1; printf 'JDQQ'; sleep 0.1; printf '=='; } |
        "$filter" --decode >out || fail "decoding failed"
    [ "$(<out)" = ABCA ] || fail "the bytes differ"
}

# Padding at the end of a piece is the end of the text, not of a piece.
padding_between_pieces() {
    head -c 49151 /dev/zero >data
    "$filter" <data >text
    [ "$(wc -c <text)" -eq 65536 ] || fail "no whole piece"
    printf 'QUJD' >>text
    local status=0
    "$filter" --decode <text >out 2>err || status=$?
    [ "$status" -eq 1 ] || fail "data behind padding was taken"
    [[ $(<err) == 'kelBase64Filter: ERR_BASE64_MISALIGNED_DATA: [] - [AAAA'*... ]] || fail "report"
    [ "$(wc -c <err)" -lt 300 ] || fail "the report is too long"
}

full_disk() {
    [ -w /dev/full ] || exit 0
    local status=0
    printf 'ABC' | "$filter" >/dev/full 2>err || status=$?
    [ "$status" -eq 1 ] || fail "ended with $status"
    [ "$(<err)" = "kelBase64Filter: cannot write the output" ] || fail "report"
}

wrong_usage() {
    local status=0
    "$filter" file </dev/null >out 2>err || status=$?
    [ "$status" -eq 2 ] || fail "an argument was taken"
    status=0
    "$filter" --wrap </dev/null >out 2>err || status=$?
    [ "$status" -eq 2 ] || fail "an unknown option was taken"
    "$filter" --help >out
    grep -q '^Usage: kelBase64Filter' out || fail "no help"
}

"$case_name"
