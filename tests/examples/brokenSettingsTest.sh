#!/usr/bin/env bash
# brokenSettingsTest.sh PROGRAM DOCUMENT: settings files that the program refuses, each with the line
# that it reports; it ends with status 2 and prints nothing else, and so has started nothing. The
# document shows every line.
set -euo pipefail
program=$1 document=$2
name=${program##*/}
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
cd "$work"
failures=0
rows=0

complain() {
    echo "FAILED: $*"
    failures=$((failures + 1))
}

# refused_file PATH REPORT
refused_file() {
    local status=0
    rows=$((rows + 1))
    timeout 60 "$program" --settings "$1" >out 2>err || status=$?
    [ "$status" -eq 2 ] || complain "$1: the status is $status, not 2"
    [ ! -s out ] || complain "$1: something was printed"
    cmp -s err <(printf '%s: %s\n' "$name" "$2") || complain "$1: '$(head -c 500 err)', not '$2'"
    grep -qF -- "\`$2\`" "$document" || complain "$document does not show '$2'"
}

# refused TITLE TEXT REPORT: the text is a format of printf.
refused() {
    # shellcheck disable=SC2059 # a format is meant
    printf "$2" >"$1"
    refused_file "$1" "$3"
}

base='host = h\nport = 1\n'

# Required keys.
refused empty-file '' 'ERR_PROPERTY_MISSING: [] - [host]'
refused no-host 'port = 1\n' 'ERR_PROPERTY_MISSING: [] - [host]'
refused no-port 'host = h\n' 'ERR_PROPERTY_MISSING: [] - [port]'
refused key-of-another-case 'host = h\nPort = 1\n' 'ERR_PROPERTY_MISSING: [] - [port]'
refused required-key-in-a-last-comment 'host = h\n# port = 1' 'ERR_PROPERTY_MISSING: [] - [port]'

refused host-is-blank 'host =  \nport = 1\n' 'SETTING_REFUSED: [] - [host] [] [a name or an address]'

# Names and messages end at a NUL wherever a C string is wanted.
refused host-with-a-nul 'host = h\\u0000x\nport = 1\n' 'SETTING_REFUSED: [] - [host] [h?x] [text without NUL]'
refused text-with-a-nul "${base}text.1 = f\\\\u0000x\n" 'SETTING_REFUSED: [] - [text.1] [f?x] [text without NUL]'
refused greeting-with-a-nul "${base}greeting = a\000b\n" 'SETTING_REFUSED: [] - [greeting] [a?b] [text without NUL]'

# Types: uint32, uint64, int32, int64, boolean, double.
refused port-is-a-word 'host = h\nport = http\n' 'ERR_PROPERTY_WRONG_TYPE: [] - [port] [http] [integer]'
refused port-is-empty 'host = h\nport =\n' 'ERR_PROPERTY_WRONG_TYPE: [] - [port] [] [integer]'
refused port-is-negative 'host = h\nport = -1\n' 'ERR_PROPERTY_WRONG_TYPE: [] - [port] [-1] [uint32]'
refused port-has-a-sign 'host = h\nport = +80\n' 'ERR_PROPERTY_WRONG_TYPE: [] - [port] [+80] [uint32]'
refused port-has-11-digits 'host = h\nport = 00000000080\n' 'ERR_PROPERTY_WRONG_TYPE: [] - [port] [00000000080] [integer]'
refused port-with-a-remark 'host = h\nport = 80 # http\n' 'ERR_PROPERTY_WRONG_TYPE: [] - [port] [80 # http] [integer]'
refused port-is-out-of-range 'host = h\nport = 65536\n' 'SETTING_REFUSED: [] - [port] [65536] [0 to 65535]'
refused port-exceeds-32-bits 'host = h\nport = 4294967376\n' 'SETTING_REFUSED: [] - [port] [4294967376] [0 to 65535]'
refused timeout-is-negative "${base}connect.timeout = -5\n" 'ERR_PROPERTY_WRONG_TYPE: [] - [connect.timeout] [-5] [uint64]'
refused timeout-has-a-unit "${base}connect.timeout = 5s\n" 'ERR_PROPERTY_WRONG_TYPE: [] - [connect.timeout] [5s] [longint]'
refused timeout-has-21-digits "${base}accept.timeout = 000000000000000000100\n" 'ERR_PROPERTY_WRONG_TYPE: [] - [accept.timeout] [000000000000000000100] [longint]'
refused timeout-is-zero "${base}accept.timeout = 0\n" 'SETTING_REFUSED: [] - [accept.timeout] [0] [1 to 3600000]'
refused rounds-are-a-fraction "${base}rounds = 1.5\n" 'ERR_PROPERTY_WRONG_TYPE: [] - [rounds] [1.5] [integer]'
refused rounds-have-11-digits "${base}rounds = 10000000000\n" 'ERR_PROPERTY_WRONG_TYPE: [] - [rounds] [10000000000] [integer]'
refused rounds-exceed-32-bits "${base}rounds = 4294967297\n" 'SETTING_REFUSED: [] - [rounds] [4294967297] [1 to 1000000]'
refused largest-item-with-grouping "${base}item.largest = 67,108,864\n" 'ERR_PROPERTY_WRONG_TYPE: [] - [item.largest] [67,108,864] [int64]'
refused largest-item-has-20-digits "${base}item.largest = 10000000000000000000\n" 'ERR_PROPERTY_WRONG_TYPE: [] - [item.largest] [10000000000000000000] [int64]'
refused largest-item-is-negative "${base}item.largest = -1\n" 'SETTING_REFUSED: [] - [item.largest] [-1] [0 to 4294967295]'
refused boolean-in-another-case "${base}tcp.nodelay = On\n" 'ERR_PROPERTY_WRONG_TYPE: [] - [tcp.nodelay] [On] [boolean]'
refused boolean-is-a-number "${base}tcp.nodelay = 2\n" 'ERR_PROPERTY_WRONG_TYPE: [] - [tcp.nodelay] [2] [boolean]'
refused double-with-a-comma "${base}lines.share = 0,5\n" 'ERR_PROPERTY_WRONG_TYPE: [] - [lines.share] [0,5] [double]'
refused double-that-overflows "${base}lines.share = 1e999\n" 'ERR_PROPERTY_WRONG_TYPE: [] - [lines.share] [1e999] [double]'
refused double-that-is-no-number "${base}lines.share = nan\n" 'SETTING_REFUSED: [] - [lines.share] [nan] [above 0, up to 1]'
refused double-out-of-range "${base}lines.share = 1.01\n" 'SETTING_REFUSED: [] - [lines.share] [1.01] [above 0, up to 1]'
refused value-out-of-a-reference 'host = h\nbase = 80\nport = %%base%%x\n' 'ERR_PROPERTY_WRONG_TYPE: [] - [port] [80x] [integer]'
refused value-with-controls 'host = h\nport = 8\\n0\x1b[1m\n' 'ERR_PROPERTY_WRONG_TYPE: [] - [port] [8?0?[1m] [integer]'

# References.
refused reference-to-nothing "${base}greeting = %%name%%\n" 'ERR_PROPERTIES_BAD_REFERENCE: [] - [greeting] [name]'
refused two-percent-signs "${base}greeting = 50%% to 100%%\n" 'ERR_PROPERTIES_BAD_REFERENCE: [] - [greeting] [ to 100]'
refused doubled-percent-sign "${base}greeting = 100%%%%\n" 'ERR_PROPERTIES_BAD_REFERENCE: [] - [greeting] []'
refused reference-to-itself "${base}a = %%a%%\n" 'ERR_PROPERTIES_CYCLIC_REFERENCE: [] - [a]'
refused cycle-of-three "${base}a = %%b%%\nb = %%c%%\nc = %%a%%\n" 'ERR_PROPERTIES_CYCLIC_REFERENCE: [] - [a]'

# Files.
refused binary-file '\x7fELF\x02\x01\x00\x00\xff\xfe=\x00\x80\n\x00\x01' 'ERR_PROPERTY_MISSING: [] - [host]'
refused binary-file-with-percent-signs '\x00\x01=%%\x02\xff%%\n' 'ERR_PROPERTIES_BAD_REFERENCE: [] - [??] [?ÿ]'
refused utf-16-file '\xff\xfeh\x00o\x00s\x00t\x00=\x00h\x00\n\x00' 'ERR_PROPERTY_MISSING: [] - [host]'
head -c 1048576 /dev/zero | tr '\0' 'x' >one-line-of-1-MiB
refused_file one-line-of-1-MiB 'ERR_PROPERTY_MISSING: [] - [host]'
refused_file absent-file 'SETTINGS_UNREADABLE: [] - [absent-file] [No such file or directory]'
refused_file '' 'SETTINGS_UNREADABLE: [] - [] [No such file or directory]'
mkdir folder
refused_file folder 'SETTINGS_UNREADABLE: [] - [folder] [Is a directory]'
head -c 4194305 /dev/zero >file-above-4-MiB
refused_file file-above-4-MiB 'SETTINGS_UNREADABLE: [] - [file-above-4-MiB] [File too large]'
: >private-file
chmod 000 private-file
# Root reads it all the same.
[ -r private-file ] || refused_file private-file 'SETTINGS_UNREADABLE: [] - [private-file] [Permission denied]'

[ "$rows" -ge 48 ] || complain "only $rows files were tried"
[ "$failures" -eq 0 ] || exit 1
echo "$rows files were refused as they should be"
