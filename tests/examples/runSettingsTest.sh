#!/usr/bin/env bash
# runSettingsTest.sh ROOT: settings that the programs could not read one after the other are refused
# by ./run before it builds or starts anything.
set -euo pipefail
run=$1/run
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
cd "$work"
[ -x "$run" ] || { echo "FAILED: there is no $run"; exit 1; }
failures=0

refused() {
    local status=0 expected="run: settings have to be a regular file: $1"
    timeout 60 "$run" --settings "$1" >out 2>err || status=$?
    if [ "$status" -ne 2 ] || [ -s out ] || [ "$(<err)" != "$expected" ]; then
        echo "FAILED: $1: status $status, '$(head -c 500 out err)'"
        failures=$((failures + 1))
    fi
}

mkfifo pipe
refused pipe
refused /dev/null
refused <(printf 'host = 127.0.0.1\nport = 0\n')
refused /dev/stdin < <(printf 'host = 127.0.0.1\nport = 0\n')
[ "$failures" -eq 0 ] || exit 1
