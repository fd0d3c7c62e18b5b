# What the scripted exchanges share: a folder of their own, which is left with all processes that they
# started, and failures shown with everything that the programs printed.
# shellcheck shell=bash
work=$(mktemp -d)
server_pid=
helper_pid=
cleanup() {
    for pid in $server_pid $helper_pid; do
        disown "$pid" 2>/dev/null || true # or else the shell may report that it was killed
        kill -KILL "$pid" 2>/dev/null || true
    done
    rm -rf "$work"
}
trap cleanup EXIT
cd "$work" || exit 1

fail() {
    echo "FAILED: $*"
    head -c 4000 ./*.out ./*.err 2>/dev/null || true
    exit 1
}
